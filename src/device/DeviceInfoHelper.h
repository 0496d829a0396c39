#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/HostBundle.h"

namespace quorvel {

// The identifiers a record is built for: typed in or given by the host, or the addresses of their
// uploaded photos. Empty texts count as absent.
struct DeviceIdentifiers {
  std::optional<std::string> imei;
  std::optional<std::string> imeiImageUrl;
  std::optional<std::string> serialNumber;
  std::optional<std::string> serialNumberImageUrl;
};

// Gathers the device-information record at one moment: identifiers, system, storage, memory,
// power, thermal state and carriers.
struct DeviceInfoHelper {
  static Dictionary getDeviceInfo(Device& device, const HostBundle& host,
                                  const DeviceIdentifiers& identifiers);

  // "SIMULATOR_MODEL_IDENTIFIER" when set, else uname's machine field without control characters
  // at either end.
  static std::string modelIdentifier(const Device& device);

  // The formatted total disk size rounded up to whole gigabytes: "63.86 GB" gives "64 GB". A text
  // without a leading number is a programming error.
  static std::string roundDiskSpace(const std::string& formattedTotal);

  static std::int64_t usedDiskSpaceInBytes(const Device& device);
};

}  // namespace quorvel
