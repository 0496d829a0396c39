#include "DemoOptions.h"

#include <QCommandLineParser>
#include <sstream>

namespace quorvel::demo {

std::vector<std::string> DemoOptions::splitList(const std::string& text) {
  std::vector<std::string> items;
  std::stringstream stream(text);
  std::string item;
  while (std::getline(stream, item, ',')) {
    if (!item.empty()) items.push_back(item);
  }
  return items;
}

const char* DemoOptions::usage() {
  return "usage: quorvel-demo [--autopilot] [--assets-host URL] [--app-id A] [--api-key K]\n"
         "                    [--language en|pt] [--tests a,b] [--hide-start-screen]\n"
         "                    [--imei V] [--serial V] [--screenshots DIR]\n"
         "                    [--mirror-camera] [--strict-uploads]\n"
         "                    [--verbose] [--version] [--help]\n"
         "  --autopilot          run unattended, as a person would, then exit\n"
         "  --assets-host URL    upload to this assets host (every environment)\n"
         "  --screenshots DIR    save a PNG of every screen shown\n"

         "  --mirror-camera      without a camera, film the window as a mirror would\n"
         "  --strict-uploads     an upload fails unless the host answers 2xx with a \"url\"\n"
         "  --verbose            keep the libraries' own messages (sound servers, Qt)\n"
         "Prints the completion response as one JSON line; exits 0 when its status code is 200,\n"
         "1 when not, 2 for a wrong command line, 3 when the autopilot is stuck.\n";
}

std::variant<DemoOptions, std::string> DemoOptions::parse(const QStringList& arguments) {
  QCommandLineParser parser;
  parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
  const QCommandLineOption autopilot("autopilot"), hideStart("hide-start-screen"),
      mirror("mirror-camera"), strict("strict-uploads"), verbose("verbose"),
      help(QStringList{"h", "help"}), version("version"), assetsHost("assets-host", "", "URL"),
      appId("app-id", "", "A"), apiKey("api-key", "", "K"), language("language", "", "L"),
      tests("tests", "", "LIST"), imei("imei", "", "V"), serial("serial", "", "V"),
      screenshots("screenshots", "", "DIR");
  parser.addOptions({autopilot, hideStart, mirror, strict, verbose, help, version, assetsHost,
                     appId, apiKey, language, tests, imei, serial, screenshots});
  // The parser reads the first argument as the program's name.
  if (!parser.parse(QStringList{"quorvel-demo"} + arguments))
    return parser.errorText().toStdString();
  if (!parser.positionalArguments().isEmpty()) {
    return "unexpected argument \"" + parser.positionalArguments().first().toStdString() + "\"";
  }
  DemoOptions options;
  options.autopilot = parser.isSet(autopilot);
  options.hideStartScreen = parser.isSet(hideStart);
  options.mirrorCamera = parser.isSet(mirror);
  options.strictUploads = parser.isSet(strict);
  options.verbose = parser.isSet(verbose);
  options.help = parser.isSet(help);
  options.version = parser.isSet(version);
  // A value given twice is a mistake, not a choice of the last one.
  for (const auto* option :
       {&assetsHost, &appId, &apiKey, &language, &tests, &imei, &serial, &screenshots}) {
    if (parser.values(*option).size() > 1) {
      return "--" + option->names().first().toStdString() + " given twice";
    }
  }
  auto text = [&parser](const QCommandLineOption& option) {
    return parser.value(option).toStdString();
  };
  if (parser.isSet(assetsHost)) {
    const std::string host = text(assetsHost);
    if (host.rfind("http://", 0) != 0 && host.rfind("https://", 0) != 0) {
      return "--assets-host must be an http:// or https:// URL, not \"" + host + "\"";
    }
    options.assetsHost = host;
  }
  if (parser.isSet(appId)) options.appID = text(appId);
  if (parser.isSet(apiKey)) options.apiKey = text(apiKey);
  if (parser.isSet(language)) {
    if (text(language) != "en" && text(language) != "pt") return "--language must be en or pt";
    options.language = text(language) == "pt" ? 1 : 0;
  }
  if (parser.isSet(tests)) options.tests = splitList(text(tests));
  if (parser.isSet(imei)) options.imei = text(imei);
  if (parser.isSet(serial)) options.serial = text(serial);
  if (parser.isSet(screenshots)) options.screenshots = text(screenshots);
  return options;
}

}  // namespace quorvel::demo
