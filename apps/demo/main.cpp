// quorvel-demo: a host application that embeds the SDK. Its page sets what a host sets and starts
// a run; after the run it shows the completion response, which it also prints as one JSON line.
#include <QCameraDevice>
#include <QGuiApplication>
#include <QMediaDevices>
#include <QTimer>
#include <cstdio>
#include <iostream>

#include "Autopilot.h"
#include "DemoOptions.h"
#include "HostPageViewController.h"
#include "ResultPageViewController.h"
#include "ScreenHost.h"
#include "ScreenRecorder.h"
#include "backend/AssetUploaderWebService.h"
#include "device/DeviceInfoHelper.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/ui/NavigationController.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "quorvel/virtual/VirtualPerson.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "quorvel/virtual/VirtualVibrator.h"
#include "run/ScreenTable.h"
#include "support/JsonText.h"

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

// What a screen shown alone reads of its "run": the demo's settings, and the only place in the
// header.
ScreenContext aloneContext(const DemoOptions& options) {
  ScreenContext context;
  context.language =
      options.language == 1 ? SupportedLanguage::portuguese : SupportedLanguage::english;
  context.header = {0, 1};
  if (!options.apiKey.empty()) {
    context.uploader = std::make_shared<AssetUploaderWebService>(
        Environment::production, options.appID, options.apiKey, options.strictUploads);
  }
  DeviceIdentifiers ids;
  if (!options.imei.empty()) ids.imei = options.imei;
  if (!options.serial.empty()) ids.serialNumber = options.serial;
  context.deviceInfoSHA256 = jsonDigest(DeviceInfoHelper::getDeviceInfo(ids));
  context.imei = options.imei;
  return context;
}

void printResult(const std::optional<Dictionary>& value) {
  std::cout << (value ? value->dump(-1, ' ', false, Dictionary::error_handler_t::replace) : "null")
            << std::endl;
}

bool hasDisplay() {
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

}  // namespace

int main(int argc, char** argv) {
  auto parsed = DemoOptions::parse(std::vector<std::string>(argv + 1, argv + argc));
  if (auto* error = std::get_if<std::string>(&parsed)) {
    std::fprintf(stderr, "quorvel-demo: %s\n%s", error->c_str(), DemoOptions::usage());
    return 2;
  }
  const DemoOptions options = std::get<DemoOptions>(parsed);
  if (options.help) {
    std::fputs(DemoOptions::usage(), stdout);
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

  QGuiApplication application(argc, argv);
  QuickFrontEnd frontEnd;
  frontEnd.addInterfaceLocation(QUrl("qrc:/demo/"));
  // The mirror camera films the window as a mirror in front of the device shows it, and hears
  // in its room what the speaker plays. It gets the window once the window exists.
  std::shared_ptr<VirtualMirrorCamera> mirror;
  auto room = std::make_shared<VirtualRoom>();
  if (options.autopilot || options.mirrorCamera) {
    mirror = std::make_shared<VirtualMirrorCamera>(nullptr, room);
    frontEnd.useCamera(mirror, mirror);
  }
  // The unattended run presses virtual volume keys: they move a volume of their own, never the
  // machine's.
  if (options.autopilot) frontEnd.useAudioSession(std::make_shared<TrackedAudioSession>());
  Platform platform = frontEnd.platform();
  // The person in the room hears the speaker and speaks to the virtual microphone.
  std::shared_ptr<VirtualPerson> person;
  if (mirror) {
    person = std::make_shared<VirtualPerson>(room);
    auto speaker = std::make_shared<VirtualSpeaker>(platform.audioPlayer, room);
    speaker->setListener([person](const std::string& assetName) { person->hear(assetName); });
    platform.audioPlayer = speaker;
    platform.audioRecorder = std::make_shared<VirtualAudioRecorder>(room, platform.mainQueue);
  }
  platform.hostBundle = std::make_shared<StaticHostBundle>(hostInformation(options));
  // The unattended run counts the vibrations it is given (the machine still gives its own).
  std::shared_ptr<VirtualVibrator> vibrator;
  if (options.autopilot) {
    vibrator = std::make_shared<VirtualVibrator>(quorvel::platform().feedback);
    platform.feedback = vibrator;
  }
  // The unattended run plugs a charger that it can reach; a person plugs the real one.
  std::shared_ptr<VirtualChargerDevice> charger;
  if (options.autopilot) {
    charger = std::make_shared<VirtualChargerDevice>(platform.device, platform.mainQueue);
    platform.device = charger;
  }
  installPlatform(platform);

  int exitCode = 1;
  auto navigation = NavigationController::make();
  std::weak_ptr<NavigationController> weakNavigation = navigation;
  std::shared_ptr<ScreenHost> screenHost;
  std::shared_ptr<ViewController> firstScreen;
  if (options.screen) {
    const bool filmed = options.screen->rfind("device_front_video", 0) == 0;
    if (filmed && !mirror && QMediaDevices::videoInputs().isEmpty()) {
      std::fprintf(stderr,
                   "quorvel-demo: %s films the screen, and this machine has no camera; "
                   "--mirror-camera (or --autopilot) films the window as a mirror would\n",
                   options.screen->c_str());
      return 2;
    }
    if (filmed && options.apiKey.empty()) {
      std::fprintf(stderr, "quorvel-demo: no --api-key: the recording cannot be uploaded\n");
    }
    screenHost = std::make_shared<ScreenHost>([&exitCode, &application](const Dictionary& result) {
      printResult(result.is_null() ? std::nullopt : std::optional<Dictionary>(result));
      exitCode = ScreenHost::succeeded(result) ? 0 : 1;
      // Leave once the screen's report has returned.
      quorvel::platform().mainQueue->async(
          [&application, &exitCode] { application.exit(exitCode); });
    });
    firstScreen = ScreenTable().makeScreen(*options.screen, aloneContext(options), screenHost);
    if (!firstScreen) {
      std::fprintf(stderr, "quorvel-demo: %s has no screen in this build\n",
                   options.screen->c_str());
      return 2;
    }
  }
  auto hostPage = std::make_shared<HostPageViewController>(
      options, [&exitCode, weakNavigation](const std::optional<Dictionary>& response) {
        printResult(response);
        exitCode = response && response->value("status_code", 0) == 200 ? 0 : 1;
        // The SDK gives the navigation back after its completion returns; show the result
        // once it has.
        quorvel::platform().mainQueue->async([weakNavigation, response] {
          if (auto host = weakNavigation.lock()) {
            host->pushViewController(std::make_shared<ResultPageViewController>(response), true);
          }
        });
      });
  navigation->setViewControllers({firstScreen ? firstScreen : hostPage}, false);
  navigation->setNavigationBarHidden(true, false);
  frontEnd.coreWindow()->setRootViewController(navigation);
  frontEnd.show(QSize(390, 844));
  if (mirror) mirror->setWindow(frontEnd.window());

  std::unique_ptr<ScreenRecorder> recorder;
  if (options.screenshots) {
    recorder =
        std::make_unique<ScreenRecorder>(frontEnd, QString::fromStdString(*options.screenshots));
    if (!options.autopilot) recorder->captureAutomatically();
  }

  std::unique_ptr<Autopilot> autopilot;
  VirtualVolumeKeys volumeKeys(frontEnd.window(), platform.volumeEvents, platform.audioSession);
  VirtualTouchScreen touchScreen(frontEnd.window());
  VirtualKeyboard keyboard(frontEnd.window());
  if (options.autopilot) {
    autopilot = std::make_unique<Autopilot>(
        frontEnd, Autopilot::Devices{charger, &volumeKeys, &touchScreen, &keyboard, person},
        options.imei.empty() ? "490154203237518" : options.imei, recorder.get());
    // A run ends on the host's result page; a screen alone ends with its report.
    QObject::connect(autopilot.get(), &Autopilot::arrived, &application,
                     [&] { application.exit(exitCode); });
    QObject::connect(autopilot.get(), &Autopilot::stuck, &application, [&](const QString& what) {
      std::fprintf(stderr, "quorvel-demo: the autopilot is stuck: %s\n", qPrintable(what));
      application.exit(3);
    });
    QTimer::singleShot(0, autopilot.get(), &Autopilot::start);
  }
  const int code = application.exec();
  // Only the screens that vibrate (the first video test) have something to say here.
  if (vibrator && vibrator->vibrations() > 0) {
    std::fprintf(stderr, "quorvel-demo: the device vibrated %d times\n", vibrator->vibrations());
  }
  return options.autopilot || options.screen ? code : exitCode;
}
