#pragma once

#include <QHash>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSize>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/quick/CameraPictureSource.h"
#include "quorvel/quick/ViewControllerBridge.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/Window.h"

QT_BEGIN_NAMESPACE
class QQmlEngine;
class QQmlApplicationEngine;
QT_END_NAMESPACE

namespace quorvel {

class QtPorts;
class QuorvelImageProvider;

// The Qt Quick front end. It draws the core's key window in an SdkView item of the QML module
// Quorvel: the host places one in its own scene (import Quorvel; SdkView { anchors.fill: parent }),
// or calls show() for a ready-made window holding one. A navigation controller's stack becomes the
// view's StackView (or one the host hands over), a presented alert a modal dialog inside the view,
// the window's loading overlays cover the view, and so does the movie player while it plays a
// recorded movie. Camera previews show the installed camera's picture. The QML chrome reaches this
// object as the
// singleton FrontEnd and only executes what it decides; screens are drawn by their interfaces
// (<InterfaceName>.qml, the host's first, then the SDK's own).
//
// One front end at a time, made before any scene that uses it and outliving those scenes.
class QUORVEL_EXPORT QuickFrontEnd : public QObject {
  Q_OBJECT
  Q_PROPERTY(QQuickItem* view READ view NOTIFY viewChanged)
  Q_PROPERTY(bool navigationBarHidden READ navigationBarHidden NOTIFY navigationChanged)
  Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY navigationChanged)
  Q_PROPERTY(quorvel::ViewControllerBridge* alert READ alert NOTIFY alertChanged)
  Q_PROPERTY(bool overlayShown READ overlayShown NOTIFY overlayChanged)
  Q_PROPERTY(qreal overlayOpacity READ overlayOpacity NOTIFY overlayChanged)
  Q_PROPERTY(int overlayFadeMilliseconds READ overlayFadeMilliseconds NOTIFY overlayChanged)
  // The movie the view's player shows; empty while it is closed.
  Q_PROPERTY(QUrl movie READ movie NOTIFY movieChanged)
  // The chrome's own words for assistive technology ("back", "close"), from the core's copy in
  // QuorvelSDK's language, read again whenever the front end draws a change.
  Q_PROPERTY(QVariantMap chromeCopy READ chromeCopy NOTIFY chromeCopyChanged)

 public:
  // Needs a QGuiApplication.
  explicit QuickFrontEnd(QObject* parent = nullptr);
  ~QuickFrontEnd() override;

  // The front end of this process (nullptr when there is none), which QML sees as FrontEnd.
  static QuickFrontEnd* current();

  // The Qt ports (main queue, windows, keys, photo picker, camera, sound player, movie playback)
  // over the build's default platform. Install it (installPlatform) before the host starts a run.
  Platform platform() const;

  // Puts camera in the platform (Qt Multimedia's front camera by default) and shows the pictures
  // of pictures, often the same object, in the screens' camera previews. When the installed
  // platform holds this front end's camera, it gets the new one too.
  void useCamera(std::shared_ptr<Camera> camera, std::shared_ptr<CameraPictureSource> pictures);
  // The installed camera's newest picture; null while no capture session runs.
  QImage cameraPicture() const;
  // Puts session in the platform, for the volume keys and the sound player too (the system's
  // mixer by default). Virtual devices use a TrackedAudioSession, so that they never move the
  // machine's own volume. The installed platform gets it when it holds the previous one.
  void useAudioSession(std::shared_ptr<AudioSession> session);

  // Host screens' interfaces are looked up here first ("qrc:/demo/"), then in the SDK's own.
  void addInterfaceLocation(const QUrl& base);

  // Readies a host's engine for the SDK: the module Quorvel and the SDK's images. Call it before
  // loading a scene that holds an SdkView.
  void addToEngine(QQmlEngine& engine);
  // The ready-made window for hosts without a scene of their own: an SdkView filling a window of
  // the front end's own engine, shown at size (390 x 844 is phone size).
  void show(QSize size = QSize(390, 844));

  std::shared_ptr<Window> coreWindow() const { return coreWindow_; }
  // The SdkView that draws the core window (nullptr before one is shown), and its window.
  QQuickItem* view() const { return view_; }
  QQuickWindow* window() const { return view_ ? view_->window() : nullptr; }

  // The bridge that draws controller, made on first use.
  ViewControllerBridge* bridgeFor(const std::shared_ptr<ViewController>& controller);
  // The screen on top of the stack, and the item that draws it.
  std::shared_ptr<ViewController> topViewController() const;
  QQuickItem* topScreenItem() const;
  // The item named name (a screen's outlet items carry their outlet's name) in the alert or the
  // top screen; nullptr when none is shown.
  QQuickItem* findItem(const QString& name) const;

  bool navigationBarHidden() const { return navigationBarHidden_; }
  bool canGoBack() const { return displayed_.size() > 1; }
  ViewControllerBridge* alert() const { return alert_; }
  bool overlayShown() const { return overlayShown_; }
  qreal overlayOpacity() const { return overlayOpacity_; }
  int overlayFadeMilliseconds() const { return overlayFadeMilliseconds_; }
  QUrl movie() const { return movie_; }
  QVariantMap chromeCopy() const { return chromeCopy_; }

  // From the SdkView: it draws the core window from now on (the last one attached does), or no
  // longer.
  Q_INVOKABLE void attach(QQuickItem* view);
  Q_INVOKABLE void detach(QQuickItem* view);
  // From the chrome.
  Q_INVOKABLE void goBack();
  Q_INVOKABLE void stackSettled(QQuickItem* top);
  Q_INVOKABLE void imagePicked(const QUrl& file);
  Q_INVOKABLE void imagePickCancelled();
  // The movie player closed: at the movie's end, by the person, or because it could not play
  // (problem says why).
  Q_INVOKABLE void closeMovie(const QString& problem = QString());

 signals:
  // Instructions for the view's StackView; depths count the SDK's screens only.
  void pushScreen(quorvel::ViewControllerBridge* screen, bool animated);
  void popScreens(int depth, bool animated);
  void resetScreens(const QVariantList& screens, bool animated);
  // The top screen is on display and no transition runs.
  void screenSettled(quorvel::ViewControllerBridge* screen);
  void imagePickRequested();
  void viewChanged();
  void navigationChanged();
  void alertChanged();
  void overlayChanged();
  void movieChanged();
  void cameraPictureChanged();
  void chromeCopyChanged();

 private:
  QUrl interfaceUrl(const QString& interfaceName) const;
  void scheduleSync();
  // Draws what changed in the core window: its stack, the alert over it, its loading overlay.
  void sync();
  // The stack on display becomes stack; true when it changed.
  bool syncStack(const std::vector<std::shared_ptr<ViewController>>& stack, bool animated);
  // The topmost alert presented by root or a screen of stack, observed on the way.
  std::shared_ptr<ViewController> presentedAlert(
      const std::shared_ptr<ViewController>& root,
      const std::vector<std::shared_ptr<ViewController>>& stack);
  void syncOverlay();
  void observe(const std::shared_ptr<Observable>& observable);
  // Deletes the bridges of screens no longer shown, once their animations are over.
  void dropUnusedBridges();
  void showMovie(const QUrl& movie, std::function<void(const std::string& problem)> closed);
  // Reads the chrome's words again: the host may change the language between runs.
  void updateChromeCopy();

  std::unique_ptr<QuorvelImageProvider> images_;  // engines get providers that share its images
  std::unique_ptr<QtPorts> ports_;
  std::shared_ptr<Window> coreWindow_;
  std::vector<QUrl> interfaceLocations_;
  // The ready-made window's engine, made by show().
  std::unique_ptr<QQmlApplicationEngine> ownEngine_;
  QPointer<QQuickItem> view_;
  QMetaObject::Connection viewWindowChanged_;

  QHash<const ViewController*, QPointer<ViewControllerBridge>> bridges_;
  std::vector<std::weak_ptr<ViewController>> displayed_;
  std::vector<std::pair<std::weak_ptr<Observable>, int>> observed_;
  bool syncScheduled_ = false;
  QTimer cleanup_;
  bool navigationBarHidden_ = true;
  QPointer<ViewControllerBridge> alert_;
  bool overlayShown_ = false;
  qreal overlayOpacity_ = 0;
  int overlayFadeMilliseconds_ = 0;
  QUrl movie_;
  QVariantMap chromeCopy_;
  std::function<void(const std::string& problem)> movieClosed_;
};

}  // namespace quorvel
