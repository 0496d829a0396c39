#include "device/Model.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "quorvel/Fatal.h"
#include "support/Utf8.h"

namespace quorvel {

namespace {

constexpr std::size_t kModelCount = static_cast<std::size_t>(Model::unrecognized) + 1;

// Indexed by the enumeration's value.
constexpr std::array<std::string_view, kModelCount> kRawValues = {
    "simulator/sandbox",
    "iPad 2",
    "iPad 3",
    "iPad 4",
    "iPad Air",
    "iPad Air 2",
    "iPad Air 3",
    "iPad Air 4",
    "iPad 5",
    "iPad 6",
    "iPad 7",
    "iPad 8",
    "iPad Mini",
    "iPad Mini 2",
    "iPad Mini 3",
    "iPad Mini 4",
    "iPad Mini 5",
    "iPad Mini 6",
    "iPad Pro 9.7\"",
    "iPad Pro 10.5\"",
    "iPad Pro 11\"",
    "iPad Pro 11\" 2nd gen",
    "iPad Pro 11\" 3rd gen",
    "iPad Pro 12.9\"",
    "iPad Pro 2 12.9\"",
    "iPad Pro 3 12.9\"",
    "iPad Pro 4 12.9\"",
    "iPad Pro 5 12.9\"",
    "iPhone 4",
    "iPhone 4S",
    "iPhone 5",
    "iPhone 5S",
    "iPhone 5C",
    "iPhone 6",
    "iPhone 6 Plus",
    "iPhone 6S",
    "iPhone 6S Plus",
    "iPhone SE",
    "iPhone 7",
    "iPhone 7 Plus",
    "iPhone 8",
    "iPhone 8 Plus",
    "iPhone X",
    "iPhone XS",
    "iPhone XS Max",
    "iPhone XR",
    "iPhone 11",
    "iPhone 11 Pro",
    "iPhone 11 Pro Max",
    "iPhone SE 2nd gen",
    "iPhone 12 Mini",
    "iPhone 12",
    "iPhone 12 Pro",
    "iPhone 12 Pro Max",
    "iPhone 13 Mini",
    "iPhone 13",
    "iPhone 13 Pro",
    "iPhone 13 Pro Max",
    "Apple Watch 1gen",
    "Apple Watch Series 1",
    "Apple Watch Series 2",
    "Apple Watch Series 3",
    "Apple Watch Series 4",
    "Apple Watch Series 5",
    "Apple Watch Special Edition",
    "Apple Watch Series 6",
    "Apple Watch Series 7",
    "?unrecognized?",
};
static_assert(kRawValues.back() == "?unrecognized?", "one name per model, in order");

struct IdentifierEntry {
  std::string_view identifier;
  Model model;
};

// The iPhone 13 family and the Series 7 watch have no identifier here on purpose: their hardware
// is reported as unrecognized.
constexpr IdentifierEntry kIdentifiers[] = {
    {"i386", Model::simulator},
    {"x86_64", Model::simulator},
    {"iPad2,1", Model::iPad2},
    {"iPad2,2", Model::iPad2},
    {"iPad2,3", Model::iPad2},
    {"iPad2,4", Model::iPad2},
    {"iPad3,1", Model::iPad3},
    {"iPad3,2", Model::iPad3},
    {"iPad3,3", Model::iPad3},
    {"iPad3,4", Model::iPad4},
    {"iPad3,5", Model::iPad4},
    {"iPad3,6", Model::iPad4},
    {"iPad4,1", Model::iPadAir},
    {"iPad4,2", Model::iPadAir},
    {"iPad4,3", Model::iPadAir},
    {"iPad5,3", Model::iPadAir2},
    {"iPad5,4", Model::iPadAir2},
    {"iPad11,3", Model::iPadAir3},
    {"iPad11,4", Model::iPadAir3},
    {"iPad13,1", Model::iPadAir4},
    {"iPad13,2", Model::iPadAir4},
    {"iPad6,11", Model::iPad5},
    {"iPad6,12", Model::iPad5},
    {"iPad7,5", Model::iPad6},
    {"iPad7,6", Model::iPad6},
    {"iPad7,11", Model::iPad7},
    {"iPad7,12", Model::iPad7},
    {"iPad11,6", Model::iPad8},
    {"iPad11,7", Model::iPad8},
    {"iPad2,5", Model::iPadMini},
    {"iPad2,6", Model::iPadMini},
    {"iPad2,7", Model::iPadMini},
    {"iPad4,4", Model::iPadMini2},
    {"iPad4,5", Model::iPadMini2},
    {"iPad4,6", Model::iPadMini2},
    {"iPad4,7", Model::iPadMini3},
    {"iPad4,8", Model::iPadMini3},
    {"iPad4,9", Model::iPadMini3},
    {"iPad5,1", Model::iPadMini4},
    {"iPad5,2", Model::iPadMini4},
    {"iPad11,1", Model::iPadMini5},
    {"iPad11,2", Model::iPadMini5},
    {"iPad14,1", Model::iPadMini6},
    {"iPad14,2", Model::iPadMini6},
    {"iPad6,3", Model::iPadPro9_7Inch},
    {"iPad6,4", Model::iPadPro9_7Inch},
    {"iPad7,3", Model::iPadPro10_5Inch},
    {"iPad7,4", Model::iPadPro10_5Inch},
    {"iPad8,1", Model::iPadPro11Inch},
    {"iPad8,2", Model::iPadPro11Inch},
    {"iPad8,3", Model::iPadPro11Inch},
    {"iPad8,4", Model::iPadPro11Inch},
    {"iPad8,9", Model::iPadPro11Inch2},
    {"iPad8,10", Model::iPadPro11Inch2},
    {"iPad13,4", Model::iPadPro11Inch3},
    {"iPad13,5", Model::iPadPro11Inch3},
    {"iPad13,6", Model::iPadPro11Inch3},
    {"iPad13,7", Model::iPadPro11Inch3},
    {"iPad6,7", Model::iPadPro12_9Inch},
    {"iPad6,8", Model::iPadPro12_9Inch},
    {"iPad7,1", Model::iPadPro2_12_9Inch},
    {"iPad7,2", Model::iPadPro2_12_9Inch},
    {"iPad8,5", Model::iPadPro3_12_9Inch},
    {"iPad8,6", Model::iPadPro3_12_9Inch},
    {"iPad8,7", Model::iPadPro3_12_9Inch},
    {"iPad8,8", Model::iPadPro3_12_9Inch},
    {"iPad8,11", Model::iPadPro4_12_9Inch},
    {"iPad8,12", Model::iPadPro4_12_9Inch},
    {"iPad13,8", Model::iPadPro5_12_9Inch},
    {"iPad13,9", Model::iPadPro5_12_9Inch},
    {"iPad13,10", Model::iPadPro5_12_9Inch},
    {"iPad13,11", Model::iPadPro5_12_9Inch},
    {"iPhone3,1", Model::iPhone4},
    {"iPhone3,2", Model::iPhone4},
    {"iPhone3,3", Model::iPhone4},
    {"iPhone4,1", Model::iPhone4S},
    {"iPhone5,1", Model::iPhone5},
    {"iPhone5,2", Model::iPhone5},
    {"iPhone6,1", Model::iPhone5S},
    {"iPhone6,2", Model::iPhone5S},
    {"iPhone5,3", Model::iPhone5C},
    {"iPhone5,4", Model::iPhone5C},
    {"iPhone7,2", Model::iPhone6},
    {"iPhone7,1", Model::iPhone6Plus},
    {"iPhone8,1", Model::iPhone6S},
    {"iPhone8,2", Model::iPhone6SPlus},
    {"iPhone8,4", Model::iPhoneSE},
    {"iPhone9,1", Model::iPhone7},
    {"iPhone9,3", Model::iPhone7},
    {"iPhone9,2", Model::iPhone7Plus},
    {"iPhone9,4", Model::iPhone7Plus},
    {"iPhone10,1", Model::iPhone8},
    {"iPhone10,4", Model::iPhone8},
    {"iPhone10,2", Model::iPhone8Plus},
    {"iPhone10,5", Model::iPhone8Plus},
    {"iPhone10,3", Model::iPhoneX},
    {"iPhone10,6", Model::iPhoneX},
    {"iPhone11,2", Model::iPhoneXS},
    {"iPhone11,4", Model::iPhoneXSMax},
    {"iPhone11,6", Model::iPhoneXSMax},
    {"iPhone11,8", Model::iPhoneXR},
    {"iPhone12,1", Model::iPhone11},
    {"iPhone12,3", Model::iPhone11Pro},
    {"iPhone12,5", Model::iPhone11ProMax},
    {"iPhone12,8", Model::iPhoneSE2},
    {"iPhone13,1", Model::iPhone12Mini},
    {"iPhone13,2", Model::iPhone12},
    {"iPhone13,3", Model::iPhone12Pro},
    {"iPhone13,4", Model::iPhone12ProMax},
    {"Watch1,1", Model::appleWatch1},
    {"Watch1,2", Model::appleWatch1},
    {"Watch2,6", Model::appleWatchSeries1},
    {"Watch2,7", Model::appleWatchSeries1},
    {"Watch2,3", Model::appleWatchSeries2},
    {"Watch2,4", Model::appleWatchSeries2},
    {"Watch3,1", Model::appleWatchSeries3},
    {"Watch3,2", Model::appleWatchSeries3},
    {"Watch3,3", Model::appleWatchSeries3},
    {"Watch3,4", Model::appleWatchSeries3},
    {"Watch4,1", Model::appleWatchSeries4},
    {"Watch4,2", Model::appleWatchSeries4},
    {"Watch4,3", Model::appleWatchSeries4},
    {"Watch4,4", Model::appleWatchSeries4},
    {"Watch5,1", Model::appleWatchSeries5},
    {"Watch5,2", Model::appleWatchSeries5},
    {"Watch5,3", Model::appleWatchSeries5},
    {"Watch5,4", Model::appleWatchSeries5},
    {"Watch5,9", Model::appleWatchSpecialEdition},
    {"Watch5,10", Model::appleWatchSpecialEdition},
    {"Watch5,11", Model::appleWatchSpecialEdition},
    {"Watch5,12", Model::appleWatchSpecialEdition},
    {"Watch6,1", Model::appleWatchSeries6},
    {"Watch6,2", Model::appleWatchSeries6},
    {"Watch6,3", Model::appleWatchSeries6},
    {"Watch6,4", Model::appleWatchSeries6},
};
static_assert(std::size(kIdentifiers) == 135);

}  // namespace

std::string_view rawValue(Model model) {
  auto index = static_cast<std::size_t>(model);
  if (index >= kRawValues.size()) QUORVEL_FATAL("Model value outside the enumeration");
  return kRawValues[index];
}

std::optional<Model> makeModel(std::string_view raw) {
  for (std::size_t i = 0; i < kRawValues.size(); ++i) {
    if (kRawValues[i] == raw) return static_cast<Model>(i);
  }
  return std::nullopt;
}

const std::vector<Model>& allModels() {
  static const std::vector<Model> models = [] {
    std::vector<Model> all;
    all.reserve(kModelCount);
    for (std::size_t i = 0; i < kModelCount; ++i) all.push_back(static_cast<Model>(i));
    return all;
  }();
  return models;
}

std::optional<Model> modelForIdentifier(std::string_view identifier) {
  for (const auto& entry : kIdentifiers) {
    if (entry.identifier == identifier) return entry.model;
  }
  return std::nullopt;
}

std::size_t modelIdentifierCount() { return std::size(kIdentifiers); }

Model currentDeviceType(const Device& device) {
  std::string machine = device.unameMachine();
  // uname's field is a C string: it ends at the first zero byte. Nothing else is trimmed, unlike
  // the reported identifier.
  if (auto end = machine.find('\0'); end != std::string::npos) machine.resize(end);
  if (!isValidUtf8(machine)) QUORVEL_FATAL("uname machine field is not valid UTF-8");

  auto model = modelForIdentifier(machine);
  if (!model) return Model::unrecognized;
  if (*model != Model::simulator) return *model;

  if (auto simulated = device.environmentVariable("SIMULATOR_MODEL_IDENTIFIER")) {
    if (auto simulatedModel = modelForIdentifier(*simulated)) return *simulatedModel;
  }
  return Model::simulator;
}

}  // namespace quorvel
