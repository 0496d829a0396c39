// The smallest host: this machine's device-information record through the public API, with no
// toolkit. Build it against an installed Quorvel with pkg-config:
//   g++ -std=c++20 host.cpp $(pkg-config --cflags --libs quorvel) -o device-info-host
#include <quorvel/QuorvelSDK.h>
#include <quorvel/StatusCodes.h>

#include <iostream>

int main(int argc, char** argv) {
  std::optional<std::string> imei;
  if (argc > 1) imei = argv[1];
  const auto record = quorvel::QuorvelSDK::shared().getDeviceInfo(imei, std::nullopt);
  std::cout << (record ? record->dump(2) : "null") << std::endl;
  // An invalid IMEI answers an error record instead of the device's.
  return record && !record->contains("status_code") ? 0 : 1;
}
