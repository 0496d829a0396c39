// quorvel-demo: a host application that embeds the SDK through its public API alone. Its page
// sets what a host sets and starts a run; after the run it shows the completion response, which it
// also prints as one JSON line. --autopilot drives the run unattended through the virtual devices.
#include <fcntl.h>
#include <unistd.h>

#include <QCameraDevice>
#include <QGuiApplication>
#include <QMediaDevices>
#include <QTimer>
#include <cstdio>
#include <iostream>
#include <memory>

#include "DemoOptions.h"
#include "HostPageViewController.h"
#include "ResultPageViewController.h"
#include "ScreenRecorder.h"
#include "quorvel/Version.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/ui/NavigationController.h"
#include "quorvel/virtual/Autopilot.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"

using namespace quorvel;
using namespace quorvel::demo;

namespace {

Dictionary hostInformation(const DemoOptions& options) {
  Dictionary info = {
      {"CFBundleName", "Quorvel demo"},
      {"CFBundleShortVersionString", "1.0"},
      {"CFBundleVersion", "1"},
      {"NSCameraUsageDescription", "The screen test films this device in a mirror."},
      {"NSMicrophoneUsageDescription", "The audio tests record what the speaker plays."}};
  if (options.assetsHost) {
    for (const char* key :
         {"QuorvelAssetsHostProduction", "QuorvelAssetsHostQA", "QuorvelAssetsHostIntegrations"}) {
      info[key] = *options.assetsHost;
    }
  }
  return info;
}

bool hasDisplay() {
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

// The demo's own messages. Without --verbose the libraries' chatter (ALSA and OpenAL on a
// machine without a sound card, Qt's warnings) is dropped: standard error then shows only these.
std::FILE* messages = stderr;

void keepOnlyOwnMessages() {
  const int own = dup(STDERR_FILENO);
  const int null = open("/dev/null", O_WRONLY);
  if (own < 0 || null < 0) return;
  dup2(null, STDERR_FILENO);
  close(null);
  if (std::FILE* stream = fdopen(own, "w")) {
    setvbuf(stream, nullptr, _IONBF, 0);
    messages = stream;
  }
}

}  // namespace

int main(int argc, char** argv) {
  QStringList arguments;
  for (int i = 1; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
  auto parsed = DemoOptions::parse(arguments);
  if (auto* error = std::get_if<std::string>(&parsed)) {
    std::fprintf(stderr, "quorvel-demo: %s\n%s", error->c_str(), DemoOptions::usage());
    return 2;
  }
  const DemoOptions options = std::get<DemoOptions>(parsed);
  if (options.help) {
    std::fputs(DemoOptions::usage(), stdout);
    return 0;
  }
  if (options.version) {
    std::printf("quorvel-demo %s\n", quorvel::QuorvelVersionString);
    return 0;
  }
  // Without a display, only the unattended run makes sense, and it runs offscreen.
  if (!hasDisplay() && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
    if (!options.autopilot) {
      std::fprintf(stderr, "quorvel-demo: no display; use --autopilot for an unattended run\n");
      return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  if (!options.verbose) keepOnlyOwnMessages();

  QGuiApplication application(argc, argv);
  application.setApplicationName("quorvel-demo");
  application.setApplicationVersion(quorvel::QuorvelVersionString);
  // The screen test films the device; without a camera it cannot pass.
  if (!options.autopilot && !options.mirrorCamera && QMediaDevices::videoInputs().isEmpty()) {
    std::fprintf(messages,
                 "quorvel-demo: this machine has no camera, so the screen test cannot film; "
                 "--mirror-camera films the window as a mirror would\n");
  }

  QuickFrontEnd frontEnd;
  frontEnd.addInterfaceLocation(QUrl("qrc:/demo/"));
  // A person filming the window in a mirror, on a machine without a camera.
  std::shared_ptr<VirtualMirrorCamera> mirror;
  if (options.mirrorCamera && !options.autopilot) {
    mirror = std::make_shared<VirtualMirrorCamera>(nullptr, std::make_shared<VirtualRoom>());
    frontEnd.useCamera(mirror, mirror);
  }
  Platform platform = frontEnd.platform();
  platform.hostBundle = std::make_shared<StaticHostBundle>(hostInformation(options));
  installPlatform(platform);

  int exitCode = 1;
  auto navigation = NavigationController::make();
  std::weak_ptr<NavigationController> weakNavigation = navigation;
  auto hostPage = std::make_shared<HostPageViewController>(
      options, [&exitCode, weakNavigation](const std::optional<Dictionary>& response) {
        std::cout << (response
                          ? response->dump(-1, ' ', false, Dictionary::error_handler_t::replace)
                          : "null")
                  << std::endl;
        exitCode = response && response->value("status_code", 0) == 200 ? 0 : 1;
        // The SDK gives the navigation back after its completion returns; show the result
        // once it has.
        quorvel::platform().mainQueue->async([weakNavigation, response] {
          if (auto host = weakNavigation.lock()) {
            host->pushViewController(std::make_shared<ResultPageViewController>(response), true);
          }
        });
      });
  navigation->setViewControllers({hostPage}, false);
  navigation->setNavigationBarHidden(true, false);
  frontEnd.coreWindow()->setRootViewController(navigation);
  frontEnd.show(QSize(390, 844));
  if (mirror) mirror->setWindow(frontEnd.window());

  std::unique_ptr<ScreenRecorder> recorder;
  if (options.screenshots) {
    recorder = std::make_unique<ScreenRecorder>(
        frontEnd, QString::fromStdString(*options.screenshots), messages);
    if (!options.autopilot) recorder->captureAutomatically();
  }

  std::unique_ptr<Autopilot> autopilot;
  if (options.autopilot) {
    Autopilot::Options pilot;
    if (!options.imei.empty()) pilot.imei = options.imei;
    if (recorder) pilot.capture = [&recorder](const QString& label) { recorder->capture(label); };
    // The host's own pages: the start button once, and the run ends on the result page.
    pilot.hostScreen = [&](const QString& screen) {
      if (screen == "HostPageViewController") {
        autopilot->tap("uiBtStart");
        return true;
      }
      if (screen == "ResultPageViewController") {
        application.exit(exitCode);
        return true;
      }
      return false;
    };
    autopilot = std::make_unique<Autopilot>(frontEnd, pilot);
    QObject::connect(autopilot.get(), &Autopilot::stuck, &application, [&](const QString& what) {
      std::fprintf(messages, "quorvel-demo: the autopilot is stuck: %s\n", qPrintable(what));
      application.exit(3);
    });
  }
  const int code = application.exec();
  // Only the screens that vibrate (the first video test) have something to say here.
  if (autopilot && autopilot->vibrations() > 0) {
    std::fprintf(messages, "quorvel-demo: the device vibrated %d times\n", autopilot->vibrations());
  }
  return options.autopilot ? code : exitCode;
}
