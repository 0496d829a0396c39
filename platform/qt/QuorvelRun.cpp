#include "qt/QuorvelRun.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTimer>
#include <optional>
#include <string>
#include <vector>

#include "qt/FrontEndSingleton.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/StatusCodes.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/ui/NavigationController.h"
#include "run/RunAccess.h"

namespace quorvel {

namespace {

QuorvelRun::AutopilotMaker& autopilotMaker() {
  static QuorvelRun::AutopilotMaker maker;
  return maker;
}

std::optional<std::string> nonEmpty(const QString& text) {
  if (text.isEmpty()) return std::nullopt;
  return text.toStdString();
}

QVariant asJavaScript(const std::optional<Dictionary>& response) {
  if (!response) return QVariant::fromValue(nullptr);
  const std::string text = response->dump(-1, ' ', false, Dictionary::error_handler_t::replace);
  return QJsonDocument::fromJson(QByteArray::fromStdString(text)).toVariant();
}

QVariant invalid(const QString& message) {
  return QVariantMap{{"status_code", QuorvelRun::invalidSetting}, {"status_message", message}};
}

}  // namespace

QuorvelRun::QuorvelRun(QObject* parent) : QObject(parent) {}

QuorvelRun::~QuorvelRun() {
  // Nobody is left to hear the answer, but the host's scene gets its navigation back.
  ++generation_;
  if (running_) cancelRunInProgress();
  if (ownWindow_) delete ownWindow_.data();
}

void QuorvelRun::setAutopilotMaker(AutopilotMaker maker) { autopilotMaker() = std::move(maker); }

void QuorvelRun::start() {
  if (running_) {
    qWarning("QuorvelRun: start() while a run is in progress; it answers only once it ends");
    return;
  }
  const int generation = ++generation_;
  running_ = true;
  begun_ = false;
  emit runningChanged();
  // From the event loop: a host calls start() as its scene completes, and the SdkView it placed
  // beside this element may not be there yet.
  QTimer::singleShot(0, this, [this, generation] {
    if (generation == generation_) begin(generation);
  });
}

void QuorvelRun::begin(int generation) {
  static const QStringList environments = {"production", "qa", "integrations"};
  static const QStringList languages = {"en", "pt"};
  const auto environment = environments.indexOf(environment_);
  const auto language = languages.indexOf(language_);
  const std::optional<Color> theme =
      themeColor_.isEmpty() ? std::nullopt : Color::fromHex(themeColor_.toStdString());
  QString problem;
  if (environment < 0) {
    problem = "environment must be production, qa or integrations, not \"" + environment_ + "\"";
  } else if (language < 0) {
    problem = "language must be en or pt, not \"" + language_ + "\"";
  } else if (!themeColor_.isEmpty() && (themeColor_.size() != 7 || !theme)) {
    problem = "themeColor must look like #0B7BFB, not \"" + themeColor_ + "\"";
  } else if (autopilot_ && !autopilotMaker()) {
    problem = "autopilot: this build's Quorvel module has no virtual devices";
  }
  if (!problem.isEmpty()) {
    answer(invalid(problem));
    return;
  }

  QuickFrontEnd* frontEnd = FrontEndSingleton::frontEnd();
  // The front end's ports, with the information dictionary the run's properties complete.
  Platform platform = frontEnd->platform();
  Dictionary info = platform.hostBundle ? platform.hostBundle->infoDictionary() : Dictionary();
  if (!info.is_object()) info = Dictionary::object();
  auto fill = [&info](const char* key, const QString& value) {
    if (!value.isEmpty()) info[key] = value.toStdString();
  };
  if (!info.contains("CFBundleName")) fill("CFBundleName", QCoreApplication::applicationName());
  if (!info.contains("CFBundleShortVersionString")) {
    fill("CFBundleShortVersionString", QCoreApplication::applicationVersion());
  }
  fill("NSCameraUsageDescription", cameraUsage_);
  fill("NSMicrophoneUsageDescription", microphoneUsage_);
  for (const char* key :
       {"QuorvelAssetsHostProduction", "QuorvelAssetsHostQA", "QuorvelAssetsHostIntegrations"}) {
    fill(key, assetsHost_);
  }
  platform.hostBundle = std::make_shared<StaticHostBundle>(info);
  installPlatform(platform);
  if (autopilot_) {
    QPointer<QuorvelRun> self = this;
    autopilotDriver_ = autopilotMaker()(*frontEnd, [self, generation](const QString& what) {
      if (!self || generation != self->generation_) return;
      qWarning("QuorvelRun: the autopilot is stuck (%s); the run is cancelled", qPrintable(what));
      self->cancel();
    });
  }

  auto window = frontEnd->coreWindow();
  if (!window->rootViewController()) {
    // Beneath the run's screens when the host has no core navigation of its own: a page that
    // draws nothing, so the host's scene shows once the run has given the navigation back.
    auto navigation =
        NavigationController::make(std::make_shared<ViewController>("QuorvelRunScene"));
    navigation->setNavigationBarHidden(true, false);
    window->setRootViewController(navigation);
  }
  coverScene(*frontEnd);

  auto& sdk = QuorvelSDK::shared();
  sdk.environment = static_cast<Environment>(environment);
  sdk.language = static_cast<SupportedLanguage>(language);
  sdk.hideStartScreen = hideStartScreen_;
  sdk.strictUploads = strictUploads_;
  sdk.themeColor = theme;
  std::optional<std::vector<std::string>> tests;
  if (!tests_.isEmpty()) {
    tests.emplace();
    for (const QString& key : tests_) tests->push_back(key.toStdString());
  }
  QPointer<QuorvelRun> self = this;
  begun_ = true;
  sdk.performTests(appId_.toStdString(), apiKey_.toStdString(), tests, nonEmpty(imei_),
                   nonEmpty(serialNumber_), nullptr,
                   [self, generation](std::optional<Dictionary> response) {
                     // Delivered from the event loop: an argument error answers inside
                     // performTests, and a handler may start the next run.
                     const QVariant value = asJavaScript(response);
                     QTimer::singleShot(0, self, [self, generation, value] {
                       if (self && generation == self->generation_) self->answer(value);
                     });
                   });
}

void QuorvelRun::cancel() {
  if (!running_) return;
  if (!begun_) {
    // Cancelled before the run reached the SDK: the answer a cancel gives.
    ++generation_;
    const int cancelled = StatusCodes::cancelledByUser;
    QTimer::singleShot(0, this, [this, generation = generation_, cancelled] {
      if (generation != generation_) return;
      answer(QVariantMap{
          {"status_code", cancelled},
          {"status_message", QString::fromStdString(StatusCodes::getDescription(cancelled))}});
    });
    return;
  }
  if (!cancelRunInProgress()) {
    // Nothing reached the SDK yet (a wrong setting answers on its own).
    qWarning("QuorvelRun: cancel() found no run in progress");
  }
}

void QuorvelRun::coverScene(QuickFrontEnd& frontEnd) {
  if (frontEnd.view()) return;
  QQmlEngine* engine = qmlEngine(this);
  if (!engine) {
    // Made from C++ rather than QML: the front end's own window.
    frontEnd.show();
    return;
  }
  QQmlComponent component(engine, QUrl("qrc:/Quorvel/SdkWindow.qml"));
  auto* window = qobject_cast<QQuickWindow*>(component.create());
  if (!window) {
    qWarning("QuorvelRun: the run's window did not load: %s", qPrintable(component.errorString()));
    return;
  }
  ownWindow_ = window;
  window->resize(390, 844);
  window->show();
  // A host's SdkView that comes later draws the run: the empty window goes.
  connect(&frontEnd, &QuickFrontEnd::viewChanged, window, [window, &frontEnd] {
    if (frontEnd.view() && frontEnd.view()->window() != window) window->close();
  });
}

void QuorvelRun::answer(const QVariant& response) {
  running_ = false;
  // The autopilot may be inside its own step when the run ends.
  if (autopilotDriver_) autopilotDriver_.release()->deleteLater();
  if (ownWindow_) {
    ownWindow_->close();
    ownWindow_->deleteLater();
  }
  emit runningChanged();
  emit finished(response);
}

}  // namespace quorvel
