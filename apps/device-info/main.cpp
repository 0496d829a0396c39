// quorvel-device-info: prints this machine's device-information record as JSON, through the same
// public API a host uses.

#include <clocale>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "quorvel/QuorvelSDK.h"

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
      "\n"
      "An invalid IMEI or a blank serial number prints the error record and exits with 2.\n",
      out);
}

}  // namespace

int main(int argc, char** argv) {
  // Byte counts follow the user's numeric conventions.
  std::setlocale(LC_ALL, "");

  std::optional<std::string> imei;
  std::optional<std::string> serial;
  for (int i = 1; i < argc; ++i) {
    std::string flag = argv[i];
    if (flag == "--help" || flag == "-h") {
      printUsage(stdout);
      return 0;
    }
    std::optional<std::string>* target = flag == "--imei"     ? &imei
                                         : flag == "--serial" ? &serial
                                                              : nullptr;
    if (!target) {
      std::fprintf(stderr, "quorvel-device-info: unknown option '%s'\n\n", argv[i]);
      printUsage(stderr);
      return kUsageError;
    }
    if (i + 1 >= argc) {
      std::fprintf(stderr, "quorvel-device-info: %s needs a value\n\n", flag.c_str());
      printUsage(stderr);
      return kUsageError;
    }
    if (*target) {
      std::fprintf(stderr, "quorvel-device-info: %s given twice\n\n", flag.c_str());
      printUsage(stderr);
      return kUsageError;
    }
    *target = argv[++i];
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
