// quorvel-package-host: a host that knows the SDK only through its installed package. It exits 0
// when a whole run shown in the host's own scene, driven as a person would through the virtual
// devices (start, the combined tests passed with the charger and the volume keys, "I couldn't
// complete this test" for the others, Finish), ends with 200 and the uploaded results.
// Usage: quorvel-package-host --assets-host URL --api-key KEY
#include <quorvel/QuorvelSDK.h>
#include <quorvel/platform/HostBundle.h>
#include <quorvel/quick/QuickFrontEnd.h>
#include <quorvel/ui/NavigationController.h>
#include <quorvel/virtual/VirtualChargerDevice.h>
#include <quorvel/virtual/VirtualTouchScreen.h>
#include <quorvel/virtual/VirtualVolumeKeys.h>

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

using namespace quorvel;

namespace {

// How long a step waits for what it needs on screen before the host calls itself stuck.
constexpr int kPatienceMilliseconds = 30000;
constexpr int kPollMilliseconds = 100;
constexpr const char* kImei = "490154203237518";

struct Options {
  std::string assetsHost;
  std::string apiKey;
};

std::optional<Options> parse(int argc, char** argv) {
  if (argc != 5 || std::string(argv[1]) != "--assets-host" || std::string(argv[3]) != "--api-key") {
    return std::nullopt;
  }
  return Options{argv[2], argv[4]};
}

void fail(const std::string& why) {
  std::fprintf(stderr, "quorvel-package-host: %s\n", why.c_str());
  QCoreApplication::exit(1);
}

// Drives the run on screen: each step waits for what it needs, then acts on the touch screen,
// the charger or the volume keys.
class Person {
 public:
  Person(QuickFrontEnd& frontEnd, VirtualChargerDevice& charger)
      : frontEnd_(frontEnd),
        charger_(charger),
        touches_(frontEnd.window()),
        keys_(frontEnd.window(), frontEnd.platform().volumeEvents,
              frontEnd.platform().audioSession) {
    QObject::connect(&frontEnd_, &QuickFrontEnd::screenSettled,
                     [this](ViewControllerBridge* screen) { act(screen->interfaceName()); });
    QObject::connect(&frontEnd_, &QuickFrontEnd::alertChanged, [this] {
      if (frontEnd_.alert()) fail("an alert came up: " + message(frontEnd_.alert()));
    });
  }

 private:
  static std::string message(ViewControllerBridge* alert) {
    return alert->alert().value("message").toString().toStdString();
  }

  void act(const QString& screen) {
    ++generation_;
    if (screen == "StartViewController") {
      tapWhenShown("uiBtNext");
    } else if (screen == "MultipleTests_v2_ViewController") {
      // Rows in turn: the cable goes in, then each volume key is pressed.
      keys_.setLevel(0.5f);
      charger_.plug();
      when("charging_v2Status", [this] {
        keys_.pressUp();
        when("buttons_v2_volume_upStatus", [this] {
          keys_.pressDown();
          tapWhenShown("uiBtNext");
        });
      });
    } else if (screen == "TestsFinishedViewController") {
      tapWhenShown("uiBtDone");
    } else if (screen != "PackageHostPage") {
      tapWhenShown("uiBtCouldntCompleteTest");
    }
  }

  void tapWhenShown(const QString& name) {
    when(name, [this, name] {
      QQuickItem* item = frontEnd_.findItem(name);
      touches_.tap(item->mapToScene(QPointF(item->width() / 2, item->height() / 2)));
    });
  }

  // Runs then once the item name shows on the current screen.
  void when(const QString& name, std::function<void()> then, int waited = 0) {
    const int generation = generation_;
    QQuickItem* item = frontEnd_.findItem(name);
    if (item && item->isEnabled() && item->opacity() > 0) {
      then();
    } else if (waited > kPatienceMilliseconds) {
      fail(name.toStdString() + " never showed");
    } else {
      QTimer::singleShot(kPollMilliseconds, [this, name, then, waited, generation] {
        if (generation == generation_) when(name, then, waited + kPollMilliseconds);
      });
    }
  }

  QuickFrontEnd& frontEnd_;
  VirtualChargerDevice& charger_;
  VirtualTouchScreen touches_;
  VirtualVolumeKeys keys_;
  int generation_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const auto options = parse(argc, argv);
  if (!options) {
    std::fputs("usage: quorvel-package-host --assets-host URL --api-key KEY\n", stderr);
    return 2;
  }
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);

  QuickFrontEnd frontEnd;
  frontEnd.addInterfaceLocation(QUrl("qrc:/package-host/"));
  Platform platform = frontEnd.platform();
  Dictionary information = {{"NSCameraUsageDescription", "Films the screen in a mirror"},
                            {"NSMicrophoneUsageDescription", "Records the speaker"}};
  for (const char* key :
       {"QuorvelAssetsHostProduction", "QuorvelAssetsHostQA", "QuorvelAssetsHostIntegrations"}) {
    information[key] = options->assetsHost;
  }
  platform.hostBundle = std::make_shared<StaticHostBundle>(information);
  auto charger = std::make_shared<VirtualChargerDevice>(platform.device, platform.mainQueue);
  platform.device = charger;
  installPlatform(platform);

  auto hostPage = std::make_shared<ViewController>("PackageHostPage");
  auto navigation = NavigationController::make(hostPage);
  navigation->setNavigationBarHidden(true, false);
  frontEnd.coreWindow()->setRootViewController(navigation);

  QQmlApplicationEngine engine;
  frontEnd.addToEngine(engine);
  engine.load(QUrl("qrc:/package-host/PackageHostScene.qml"));
  if (!frontEnd.window()) {
    std::fputs("quorvel-package-host: the host's scene shows no SdkView\n", stderr);
    return 1;
  }
  Person person(frontEnd, *charger);

  int exitCode = 1;
  QuorvelSDK::shared().performTests(
      "package-host", options->apiKey, std::nullopt, kImei, std::nullopt, nullptr,
      [&](std::optional<Dictionary> response) {
        std::cout << (response
                          ? response->dump(-1, ' ', false, Dictionary::error_handler_t::replace)
                          : "null")
                  << std::endl;
        const bool uploaded = response && response->value("status_code", 0) == 200 &&
                              response->contains("uploaded_results_info");
        exitCode = uploaded ? 0 : 1;
        QCoreApplication::exit(exitCode);
      });
  const int code = application.exec();
  return code != 0 ? code : exitCode;
}
