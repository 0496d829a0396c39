#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <memory>

#include "quorvel/Export.h"

namespace quorvel {

class QuickFrontEnd;

// QML's QuorvelRun: a run of the SDK for a host written in QML alone. Its properties are the
// arguments and settings a C++ host hands QuorvelSDK, plus what the platform's information
// dictionary says (the usage texts, the assets host). start() shows the run's screens over the
// host's scene (the SdkView the host placed, or a window of the run's own) and finished carries
// the completion response, once per start().
class QUORVEL_EXPORT QuorvelRun : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QString appId MEMBER appId_ NOTIFY settingsChanged)
  Q_PROPERTY(QString apiKey MEMBER apiKey_ NOTIFY settingsChanged)
  // Overrides the assets host of every environment; empty: the information dictionary's, else
  // the build's.
  Q_PROPERTY(QString assetsHost MEMBER assetsHost_ NOTIFY settingsChanged)
  // "production", "qa" or "integrations".
  Q_PROPERTY(QString environment MEMBER environment_ NOTIFY settingsChanged)
  // Test keys; empty: the default run.
  Q_PROPERTY(QStringList tests MEMBER tests_ NOTIFY settingsChanged)
  Q_PROPERTY(QString imei MEMBER imei_ NOTIFY settingsChanged)
  Q_PROPERTY(QString serialNumber MEMBER serialNumber_ NOTIFY settingsChanged)
  // Why the host films the screen and records sound: the information dictionary's usage texts.
  Q_PROPERTY(QString cameraUsage MEMBER cameraUsage_ NOTIFY settingsChanged)
  Q_PROPERTY(QString microphoneUsage MEMBER microphoneUsage_ NOTIFY settingsChanged)
  // "en" or "pt".
  Q_PROPERTY(QString language MEMBER language_ NOTIFY settingsChanged)
  // "#RRGGBB"; empty: the SDK's own.
  Q_PROPERTY(QString themeColor MEMBER themeColor_ NOTIFY settingsChanged)
  Q_PROPERTY(bool hideStartScreen MEMBER hideStartScreen_ NOTIFY settingsChanged)
  Q_PROPERTY(bool strictUploads MEMBER strictUploads_ NOTIFY settingsChanged)
  // The run drives itself through the virtual devices (quorvel::Autopilot).
  Q_PROPERTY(bool autopilot MEMBER autopilot_ NOTIFY settingsChanged)
  Q_PROPERTY(bool running READ running NOTIFY runningChanged)

 public:
  // The status a run answers with when a setting only QML has is wrong (an unknown environment,
  // language or theme colour, or the autopilot in a build without it); the message says which.
  static constexpr int invalidSetting = 400;

  explicit QuorvelRun(QObject* parent = nullptr);
  ~QuorvelRun() override;

  bool running() const { return running_; }

  // Starts a run with the properties as they are now; finished answers it. While one runs, a
  // second start() is refused with a warning (and answers nothing).
  Q_INVOKABLE void start();
  // Ends the run in progress as the person's cancel does: finished gets 301.
  Q_INVOKABLE void cancel();

  // What drives an autopilot run: it installs the virtual devices into the platform installed at
  // that moment, drives the run's screens, and calls stuck when a step cannot happen. The module's
  // plugin sets it from quorvel::virtual.
  using AutopilotMaker = std::function<std::unique_ptr<QObject>(
      QuickFrontEnd& frontEnd, std::function<void(const QString& what)> stuck)>;
  static void setAutopilotMaker(AutopilotMaker maker);

 signals:
  // The completion response as a JavaScript object, null when none.
  void finished(const QVariant& response);
  void settingsChanged();
  void runningChanged();

 private:
  // The run itself, one event-loop turn after start().
  void begin(int generation);
  void answer(const QVariant& response);
  // Shows the run in a window of its own when the host placed no SdkView.
  void coverScene(QuickFrontEnd& frontEnd);

  QString appId_, apiKey_, assetsHost_, environment_ = "production";
  QStringList tests_;
  QString imei_, serialNumber_, cameraUsage_, microphoneUsage_, language_ = "en", themeColor_;
  bool hideStartScreen_ = false;
  bool strictUploads_ = false;
  bool autopilot_ = false;
  bool running_ = false;
  // Whether the run reached the SDK (a cancel before that answers by itself).
  bool begun_ = false;
  // Each start() answers once; an answer of an earlier start() is dropped.
  int generation_ = 0;
  QPointer<QQuickWindow> ownWindow_;
  std::unique_ptr<QObject> autopilotDriver_;
};

}  // namespace quorvel
