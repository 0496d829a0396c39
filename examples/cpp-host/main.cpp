// A Qt Quick host in C++ on QuorvelSDK::performTests. It shows the SDK in the front end's own
// window and prints the completion response as one JSON line.
//   cpp-host [--autopilot] ASSETS_HOST API_KEY
#include <quorvel/QuorvelSDK.h>
#include <quorvel/platform/HostBundle.h>
#include <quorvel/quick/QuickFrontEnd.h>
#include <quorvel/virtual/Autopilot.h>

#include <QCommandLineParser>
#include <QGuiApplication>
#include <iostream>
#include <memory>

int main(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  QCommandLineParser arguments;
  arguments.addOption({"autopilot", "Drive the run through the virtual devices."});
  arguments.addPositionalArgument("assets-host", "Where the run uploads, http://127.0.0.1:8731");
  arguments.addPositionalArgument("api-key", "The assets host's key.");
  arguments.addHelpOption();
  arguments.process(application);
  if (arguments.positionalArguments().size() != 2) arguments.showHelp(2);
  const std::string assetsHost = arguments.positionalArguments()[0].toStdString();

  // The front end's ports, with the host's information dictionary.
  quorvel::QuickFrontEnd frontEnd;
  quorvel::Platform platform = frontEnd.platform();
  platform.hostBundle = std::make_shared<quorvel::StaticHostBundle>(quorvel::Dictionary{
      {"CFBundleName", "My trade-in app"},
      {"NSCameraUsageDescription", "The screen test films this phone in a mirror."},
      {"NSMicrophoneUsageDescription", "The audio tests record what the speaker plays."},
      {"QuorvelAssetsHostProduction", assetsHost}});
  quorvel::installPlatform(platform);
  frontEnd.show();

  std::unique_ptr<quorvel::Autopilot> autopilot;
  if (arguments.isSet("autopilot")) autopilot = std::make_unique<quorvel::Autopilot>(frontEnd);

  int status = 0;
  quorvel::QuorvelSDK::shared().performTests(
      "my-app", arguments.positionalArguments()[1].toStdString(), std::nullopt, std::nullopt,
      std::nullopt, nullptr, [&status](std::optional<quorvel::Dictionary> response) {
        std::cout << (response ? response->dump() : "null") << std::endl;
        status = response ? response->value("status_code", 0) : 0;
        QCoreApplication::exit(status == 200 ? 0 : 1);
      });
  return application.exec();
}
