#include "device/DeviceImages.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "device/DeviceInfoHelper.h"
#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

constexpr std::array<std::string_view, 3> kKeys = {"volume_up", "volume_down", "screenshot"};

// One image name per key, in the order of kKeys.
using ImageTable = std::array<std::string_view, 3>;

constexpr ImageTable kTouchIdIPhone = {"iPhone_touch_ID_volume_up", "iPhone_touch_ID_volume_down",
                                       "iPhone_touch_ID_screenshot"};
constexpr ImageTable kFaceIdIPhone = {"iPhone_face_ID_volume_up", "iPhone_face_ID_volume_down",
                                      "iPhone_face_ID_screenshot"};
constexpr ImageTable kFaceIdIPad = {"iPad_face_ID_volume_up", "iPad_face_ID_volume_down",
                                    "iPad_face_ID_screenshot"};
constexpr ImageTable kTouchIdIPad = {"iPad_touch_ID_volume_up", "iPad_touch_ID_volume_down",
                                     "iPad_touch_ID_screenshot"};

constexpr std::string_view kTouchIdIPads[] = {
    "iPad2,1",  "iPad2,2",  "iPad2,3",  "iPad2,4",  "iPad3,1",  "iPad3,2",  "iPad3,3",  "iPad3,4",
    "iPad3,5",  "iPad3,6",  "iPad6,11", "iPad6,12", "iPad7,5",  "iPad7,6",  "iPad7,11", "iPad7,12",
    "iPad11,6", "iPad11,7", "iPad2,5",  "iPad2,6",  "iPad2,7",  "iPad4,4",  "iPad4,5",  "iPad4,6",
    "iPad4,7",  "iPad4,8",  "iPad4,9",  "iPad5,1",  "iPad5,2",  "iPad11,1", "iPad11,2", "iPad4,1",
    "iPad4,2",  "iPad4,3",  "iPad5,3",  "iPad5,4",  "iPad11,3", "iPad11,4", "iPad6,3",  "iPad6,4",
    "iPad7,3",  "iPad7,4",  "iPad6,7",  "iPad6,8",  "iPad7,1",  "iPad7,2",
};

constexpr std::string_view kFaceIdIPads[] = {
    "iPad8,1", "iPad8,2", "iPad8,3", "iPad8,4",  "iPad8,9",  "iPad8,10", "iPad8,5",
    "iPad8,6", "iPad8,7", "iPad8,8", "iPad8,11", "iPad8,12", "iPad13,1", "iPad13,2",
};

constexpr std::string_view kTouchIdIPhones[] = {
    "iPhone3,1", "iPhone3,2",  "iPhone3,3",  "iPhone4,1",  "iPhone5,1",  "iPhone5,2",
    "iPhone5,3", "iPhone5,4",  "iPhone6,1",  "iPhone6,2",  "iPhone7,1",  "iPhone7,2",
    "iPhone8,1", "iPhone8,2",  "iPhone8,4",  "iPhone9,1",  "iPhone9,3",  "iPhone9,2",
    "iPhone9,4", "iPhone10,1", "iPhone10,4", "iPhone10,2", "iPhone10,5", "iPhone12,8",
};

constexpr std::string_view kFaceIdIPhones[] = {
    "iPhone10,3", "iPhone10,6", "iPhone11,2", "iPhone11,4", "iPhone11,6",
    "iPhone11,8", "iPhone12,1", "iPhone12,3", "iPhone12,5", "iPhone13,1",
    "iPhone13,2", "iPhone13,3", "iPhone13,4",
};

// The face-ID lists agree with the family fallback below, so no lookup can tell them apart; their
// sizes at least keep them whole.
static_assert(std::size(kTouchIdIPads) == 46 && std::size(kFaceIdIPads) == 14);
static_assert(std::size(kTouchIdIPhones) == 24 && std::size(kFaceIdIPhones) == 13);

template <std::size_t N>
bool listed(const std::string_view (&list)[N], std::string_view identifier) {
  return std::find(std::begin(list), std::end(list), identifier) != std::end(list);
}

// Devices missing from the lists are taken to be face-ID devices of their family: newer hardware
// has no home button.
const ImageTable* tableFor(const std::string& identifier) {
  if (listed(kTouchIdIPads, identifier)) return &kTouchIdIPad;
  if (listed(kFaceIdIPads, identifier)) return &kFaceIdIPad;
  if (listed(kTouchIdIPhones, identifier)) return &kTouchIdIPhone;
  if (listed(kFaceIdIPhones, identifier)) return &kFaceIdIPhone;

  // ASCII lowering is enough: no other character lower-cases into the letters searched for.
  std::string lower = identifier;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  if (lower.find("ipad") != std::string::npos) return &kFaceIdIPad;
  if (lower.find("iphone") != std::string::npos) return &kFaceIdIPhone;
  return nullptr;
}

}  // namespace

std::string DeviceImages::imageName(std::string_view key, const Device& device) {
  // The key is checked before the device is looked at, so a bad key fails on every machine and not
  // only on phones and tablets.
  auto keyIt = std::find(kKeys.begin(), kKeys.end(), key);
  if (keyIt == kKeys.end()) QUORVEL_FATAL("Unknown device image key: " + std::string(key));

  const ImageTable* table = tableFor(DeviceInfoHelper::modelIdentifier(device));
  if (!table) return "";
  return std::string((*table)[static_cast<std::size_t>(keyIt - kKeys.begin())]);
}

}  // namespace quorvel
