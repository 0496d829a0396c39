#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "quorvel/platform/Device.h"

namespace quorvel {

// The commercial model of a device. The order of the cases is fixed: callers list and index them.
enum class Model {
  simulator,
  iPad2,
  iPad3,
  iPad4,
  iPadAir,
  iPadAir2,
  iPadAir3,
  iPadAir4,
  iPad5,
  iPad6,
  iPad7,
  iPad8,
  iPadMini,
  iPadMini2,
  iPadMini3,
  iPadMini4,
  iPadMini5,
  iPadMini6,
  iPadPro9_7Inch,
  iPadPro10_5Inch,
  iPadPro11Inch,
  iPadPro11Inch2,
  iPadPro11Inch3,
  iPadPro12_9Inch,
  iPadPro2_12_9Inch,
  iPadPro3_12_9Inch,
  iPadPro4_12_9Inch,
  iPadPro5_12_9Inch,
  iPhone4,
  iPhone4S,
  iPhone5,
  iPhone5S,
  iPhone5C,
  iPhone6,
  iPhone6Plus,
  iPhone6S,
  iPhone6SPlus,
  iPhoneSE,
  iPhone7,
  iPhone7Plus,
  iPhone8,
  iPhone8Plus,
  iPhoneX,
  iPhoneXS,
  iPhoneXSMax,
  iPhoneXR,
  iPhone11,
  iPhone11Pro,
  iPhone11ProMax,
  iPhoneSE2,
  iPhone12Mini,
  iPhone12,
  iPhone12Pro,
  iPhone12ProMax,
  iPhone13Mini,
  iPhone13,
  iPhone13Pro,
  iPhone13ProMax,
  appleWatch1,
  appleWatchSeries1,
  appleWatchSeries2,
  appleWatchSeries3,
  appleWatchSeries4,
  appleWatchSeries5,
  appleWatchSpecialEdition,
  appleWatchSeries6,
  appleWatchSeries7,
  unrecognized,
};

// The commercial name ("iPhone 12", "iPad Pro 9.7\"", "simulator/sandbox", "?unrecognized?").
std::string_view rawValue(Model model);

// The model whose commercial name is exactly rawValue (case-sensitive).
std::optional<Model> makeModel(std::string_view rawValue);

// Every model, in declaration order.
const std::vector<Model>& allModels();

// The model of a hardware identifier such as "iPhone13,2" (exact match), if the table knows it.
std::optional<Model> modelForIdentifier(std::string_view identifier);

// How many hardware identifiers the table knows.
std::size_t modelIdentifierCount();

// The running device's model, from uname's machine field; on a simulator, the model named by
// SIMULATOR_MODEL_IDENTIFIER when the table knows it.
Model currentDeviceType(const Device& device);

}  // namespace quorvel
