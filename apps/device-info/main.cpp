// quorvel-device-info: prints this machine's device-information record as JSON, through the same
// public API a host uses.

#include <clocale>
#include <cstdio>
#include <optional>
#include <string>

#include "CommandLine.h"
#include "quorvel/QuorvelSDK.h"

namespace {

constexpr const char* kUsage =
    "usage: quorvel-device-info [--imei VALUE] [--serial VALUE]\n"
    "\n"
    "Prints this device's information record as JSON on standard output.\n"
    "  --imei VALUE    the device's IMEI (15 digits, blanks allowed)\n"
    "  --serial VALUE  the device's serial number\n"
    "  --help          this text\n"
    "  --version       the program's version\n"
    "\n"
    "An invalid IMEI or a blank serial number prints the error record and exits with 2.\n";

}  // namespace

int main(int argc, char** argv) {
  // Byte counts follow the user's numeric conventions.
  std::setlocale(LC_ALL, "");

  // Values go to the SDK untouched: judging them is its part.
  quorvel::CommandLine line("quorvel-device-info", kUsage);
  const CLI::Option* imei = line.option("--imei");
  const CLI::Option* serial = line.option("--serial");
  if (auto exit = line.parse(argc, argv)) return *exit;

  auto record = quorvel::QuorvelSDK::shared().getDeviceInfo(quorvel::CommandLine::value(imei),
                                                            quorvel::CommandLine::value(serial));
  if (!record) {
    std::fputs("quorvel-device-info: no device information\n", stderr);
    return 1;
  }
  std::string text = record->dump(2, ' ', false, quorvel::Dictionary::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
  return record->contains("status_code") ? quorvel::CommandLine::kUsageError : 0;
}
