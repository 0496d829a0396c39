#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quorvel/Dictionary.h"

namespace quorvel {

// Gathers the device-information record at one moment: identifiers, system, storage, memory,
// power, thermal state and carriers.
struct DeviceInfoHelper {
  // The record for these identifiers; the run's own imei/serialNumber win over the arguments.
  static Dictionary getDeviceInfo(const std::optional<std::string>& imei,
                                  const std::optional<std::string>& serialNumber);

  // "SIMULATOR_MODEL_IDENTIFIER" when set, else uname's machine field without control characters
  // at either end.
  static std::string modelIdentifier();

  // The formatted total disk size rounded up to whole gigabytes: "63.86 GB" gives "64 GB". A text
  // without a leading number is a programming error.
  static std::string roundDiskSpace(const std::string& formattedTotal);

  static std::int64_t totalDiskSpaceInBytes();
  static std::int64_t freeDiskSpaceInBytes();
  static std::int64_t usedDiskSpaceInBytes();
};

}  // namespace quorvel
