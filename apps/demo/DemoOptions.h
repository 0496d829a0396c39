#pragma once

#include <QStringList>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel::demo {

// What quorvel-demo was asked to do, from its command line.
struct DemoOptions {
  bool autopilot = false;
  std::optional<std::string> assetsHost;
  std::string appID = "quorvel-demo";
  std::string apiKey;
  // 0 English, 1 Portuguese.
  int language = 0;
  // No value: the SDK's default tests.
  std::optional<std::vector<std::string>> tests;
  bool hideStartScreen = false;
  // The SDK's strictUploads: an answer without a stored file's address fails the upload.
  bool strictUploads = false;
  std::string imei;
  std::string serial;
  std::optional<std::string> screenshots;
  // Films the window in a virtual mirror when the machine has no camera (the autopilot always
  // does).
  bool mirrorCamera = false;
  // Leaves the libraries' own messages (sound servers, Qt) on standard error.
  bool verbose = false;
  bool help = false;
  bool version = false;

  // The options, or a message saying what is wrong with arguments (without the program name).
  static std::variant<DemoOptions, std::string> parse(const QStringList& arguments);
  static const char* usage();
  // "a,b,,c" as {"a", "b", "c"}: a list given in one text field or flag.
  static std::vector<std::string> splitList(const std::string& text);
};

}  // namespace quorvel::demo
