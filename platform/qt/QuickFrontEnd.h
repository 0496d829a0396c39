#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>
#include <QUrl>
#include <QVariantList>
#include <memory>
#include <vector>

#include "qt/ViewControllerBridge.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/Window.h"

namespace quorvel {

class QtHardwareKeys;
class QtImagePicker;
class QuorvelImageProvider;

// The Qt Quick front end: one QQuickWindow that draws the core's key window. Its root screen (a
// navigation controller's stack, or a single screen) is a StackView, a presented alert is a modal
// dialog, and the window's loading overlays cover everything. The QML chrome only executes what
// this class decides; screens are drawn by resources/interfaces/<InterfaceName>.qml.
class QuickFrontEnd : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool navigationBarHidden READ navigationBarHidden NOTIFY navigationChanged)
  Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY navigationChanged)
  Q_PROPERTY(quorvel::ViewControllerBridge* alert READ alert NOTIFY alertChanged)
  Q_PROPERTY(bool overlayShown READ overlayShown NOTIFY overlayChanged)
  Q_PROPERTY(qreal overlayOpacity READ overlayOpacity NOTIFY overlayChanged)
  Q_PROPERTY(int overlayFadeMilliseconds READ overlayFadeMilliseconds NOTIFY overlayChanged)

 public:
  // Needs a QGuiApplication. Nothing shows until show().
  explicit QuickFrontEnd(QObject* parent = nullptr);
  ~QuickFrontEnd() override;

  // The Qt ports (main queue, windows, keys, photo picker) over the build's default platform.
  // Install it (installPlatform) before the host starts a run.
  Platform platform() const { return platform_; }

  // Host screens' interfaces are looked up here first ("qrc:/demo/"), then in the SDK's own.
  void addInterfaceLocation(const QUrl& base);
  // Folders with the host's own images, by asset name.
  void addImageLocation(const QString& directory);

  // Loads the window at size (390 x 844 is phone size) and shows it.
  void show(QSize size = QSize(390, 844));

  QQmlApplicationEngine& engine() { return engine_; }
  QQuickWindow* window() const { return window_; }
  std::shared_ptr<Window> coreWindow() const { return coreWindow_; }

  // The bridge that draws controller, made on first use.
  ViewControllerBridge* bridgeFor(const std::shared_ptr<ViewController>& controller);
  // The screen on top of the stack, and the item that draws it.
  std::shared_ptr<ViewController> topViewController() const;
  QQuickItem* topScreenItem() const;
  // The item named name (a screen's outlet items carry their outlet's name) in the top screen or
  // the alert; nullptr when there is none.
  QQuickItem* findItem(const QString& name) const;

  bool navigationBarHidden() const { return navigationBarHidden_; }
  bool canGoBack() const { return displayed_.size() > 1; }
  ViewControllerBridge* alert() const { return alert_; }
  bool overlayShown() const { return overlayShown_; }
  qreal overlayOpacity() const { return overlayOpacity_; }
  int overlayFadeMilliseconds() const { return overlayFadeMilliseconds_; }

  // From the chrome.
  Q_INVOKABLE void goBack();
  Q_INVOKABLE void stackSettled(QQuickItem* top);
  Q_INVOKABLE void imagePicked(const QUrl& file);
  Q_INVOKABLE void imagePickCancelled();

 signals:
  // Instructions for the chrome's StackView.
  void pushScreen(quorvel::ViewControllerBridge* screen, bool animated);
  void popScreens(int depth, bool animated);
  void resetScreens(const QVariantList& screens, bool animated);
  // The top screen is on display and no transition runs.
  void screenSettled(quorvel::ViewControllerBridge* screen);
  void imagePickRequested();
  void navigationChanged();
  void alertChanged();
  void overlayChanged();

 private:
  QUrl interfaceUrl(const QString& interfaceName) const;
  void scheduleSync();
  void sync();
  void observe(const std::shared_ptr<Observable>& observable);
  // Deletes the bridges of screens no longer shown, once their animations are over.
  void dropUnusedBridges();

  QQmlApplicationEngine engine_;
  QuorvelImageProvider* images_;  // owned by the engine
  QPointer<QQuickWindow> window_;
  Platform platform_;
  std::shared_ptr<Window> coreWindow_;
  std::shared_ptr<QtImagePicker> picker_;
  QtHardwareKeys* keys_;
  std::vector<QUrl> interfaceLocations_;

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
};

}  // namespace quorvel
