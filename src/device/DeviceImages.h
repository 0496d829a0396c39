#pragma once

#include <string>
#include <string_view>

#include "quorvel/platform/Device.h"

namespace quorvel {

// Picks the illustration of where the volume or screenshot buttons sit on the running device.
struct DeviceImages {
  // key is "volume_up", "volume_down" or "screenshot"; anything else is a programming error.
  // Answers "" when the device is neither an iPhone nor an iPad.
  static std::string imageName(std::string_view key, const Device& device);
};

}  // namespace quorvel
