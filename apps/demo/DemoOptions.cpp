#include "DemoOptions.h"

#include <algorithm>
#include <sstream>

#include "run/ScreenTable.h"

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
         "                    [--screen KEY] [--mirror-camera] [--strict-uploads]\n"
         "  --autopilot          run the default flow unattended, as a person would, then exit\n"
         "  --assets-host URL    upload to this assets host (every environment)\n"
         "  --screenshots DIR    save a PNG of every screen shown\n"
         "  --screen KEY         show one test screen alone (device_front_video_v2, ...)\n"
         "  --mirror-camera      without a camera, film the window as a mirror would\n"
         "  --strict-uploads     an upload fails unless the host answers 2xx with a \"url\"\n"
         "Prints the completion response as one JSON line; exits 0 when its status code is 200.\n"
         "With --screen, prints the screen's result instead; exits 0 when it succeeded.\n";
}

std::variant<DemoOptions, std::string> DemoOptions::parse(const std::vector<std::string>& args) {
  DemoOptions options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& flag = args[i];
    auto value = [&]() -> std::optional<std::string> {
      if (i + 1 >= args.size()) return std::nullopt;
      return args[++i];
    };
    if (flag == "--autopilot") {
      options.autopilot = true;
    } else if (flag == "--hide-start-screen") {
      options.hideStartScreen = true;
    } else if (flag == "--mirror-camera") {
      options.mirrorCamera = true;
    } else if (flag == "--strict-uploads") {
      options.strictUploads = true;
    } else if (flag == "--help" || flag == "-h") {
      options.help = true;
    } else if (flag == "--assets-host" || flag == "--app-id" || flag == "--api-key" ||
               flag == "--language" || flag == "--tests" || flag == "--imei" ||
               flag == "--serial" || flag == "--screenshots" || flag == "--screen") {
      auto text = value();
      if (!text) return flag + " needs a value";
      if (flag == "--assets-host") {
        if (text->rfind("http://", 0) != 0 && text->rfind("https://", 0) != 0) {
          return "--assets-host must be an http:// or https:// URL, not \"" + *text + "\"";
        }
        options.assetsHost = *text;
      } else if (flag == "--app-id") {
        options.appID = *text;
      } else if (flag == "--api-key") {
        options.apiKey = *text;
      } else if (flag == "--language") {
        if (*text != "en" && *text != "pt") return "--language must be en or pt";
        options.language = *text == "pt" ? 1 : 0;
      } else if (flag == "--tests") {
        options.tests = splitList(*text);
      } else if (flag == "--imei") {
        options.imei = *text;
      } else if (flag == "--serial") {
        options.serial = *text;
      } else if (flag == "--screen") {
        const auto& keys = ScreenTable::keys();
        if (std::find(keys.begin(), keys.end(), *text) == keys.end()) {
          std::string known;
          for (const auto& key : keys) known += (known.empty() ? "" : ", ") + key;
          return "--screen: no test screen \"" + *text + "\"; the keys are " + known;
        }
        options.screen = *text;
      } else {
        options.screenshots = *text;
      }
    } else {
      return "unknown option \"" + flag + "\"";
    }
  }
  return options;
}

}  // namespace quorvel::demo
