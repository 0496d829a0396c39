// quorvel-device-info: prints this machine's device-information record as JSON, through the same
// public API a host uses.

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "quorvel/QuorvelSDK.h"
#include "quorvel/Version.h"

namespace {

constexpr int kUsageError = 2;

void printUsage(std::FILE* out) {
  std::fputs(
      "usage: quorvel-device-info [--imei VALUE] [--serial VALUE]\n"
      "\n"
      "Prints this device's information record as JSON on standard output.\n"
      "  --imei VALUE    the device's IMEI (15 digits, blanks allowed)\n"
      "  --serial VALUE  the device's serial number\n"
      "  --help          this text\n"
      "  --version       the program's version\n"
      "\n"
      "An invalid IMEI or a blank serial number prints the error record and exits with 2.\n",
      out);
}

int usageError(const std::string& message) {
  std::fprintf(stderr, "quorvel-device-info: %s\n\n", message.c_str());
  printUsage(stderr);
  return kUsageError;
}

// CLI11 reports a value missing at the end of the line as "NAME: 1 required  missing".
std::string describe(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) && argc > 1) {
    const CLI::Option* last = app.get_option_no_throw(argv[argc - 1]);
    if (last && last->get_expected_min() > 0) return last->get_name() + " needs a value";
  }
  return error.what();
}

}  // namespace

int main(int argc, char** argv) {
  // Byte counts follow the user's numeric conventions.
  std::setlocale(LC_ALL, "");

  // CLI11 splits the line and keeps every occurrence as given; the usage text and the messages
  // stay the program's own. Values go to the SDK untouched: judging them is its part.
  CLI::App app{"", "quorvel-device-info"};
  app.set_help_flag("-h,--help");
  app.set_version_flag("--version",
                       std::string("quorvel-device-info ") + quorvel::QuorvelVersionString);
  app.allow_extras();
  auto addOption = [&app](const std::string& name) {
    // One value per occurrence, taken as it is even when it begins with '-'.
    return app.add_option(name)->allow_extra_args(false)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
  };
  const CLI::Option* imeiOption = addOption("--imei");
  const CLI::Option* serialOption = addOption("--serial");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    printUsage(stdout);
    return 0;
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    return 0;
  } catch (const CLI::ParseError& error) {
    return usageError(describe(app, error, argc, argv));
  }
  if (!app.remaining().empty()) {
    const std::string extra = app.remaining().front();
    return usageError((extra.starts_with('-') ? "unknown option '" : "unexpected argument '") +
                      extra + "'");
  }
  std::optional<std::string> imei;
  std::optional<std::string> serial;
  for (auto [option, value] : {std::pair{imeiOption, &imei}, std::pair{serialOption, &serial}}) {
    if (option->count() > 1) return usageError(option->get_name() + " given twice");
    if (option->count()) *value = option->results().front();
  }

  auto record = quorvel::QuorvelSDK::shared().getDeviceInfo(imei, serial);
  if (!record) {
    std::fputs("quorvel-device-info: no device information\n", stderr);
    return 1;
  }
  std::string text = record->dump(2, ' ', false, quorvel::Dictionary::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
  return record->contains("status_code") ? kUsageError : 0;
}
