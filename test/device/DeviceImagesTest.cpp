#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/DeviceImages.h"
#include "quorvel/platform/Platform.h"
#include "support/ScriptedDevice.h"

namespace quorvel {
namespace {

using namespace std::string_literals;
using testing::ScriptedDevice;

class DeviceImagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform p;
    p.device = device_;
    installPlatform(p);
  }
  // Later tests must not see this device.
  void TearDown() override { installPlatform(Platform{}); }

  void runOn(const std::string& machine, const std::optional<std::string>& simulated) {
    device_->machine = machine;
    device_->environment.clear();
    if (simulated) device_->environment["SIMULATOR_MODEL_IDENTIFIER"] = *simulated;
  }

  std::shared_ptr<ScriptedDevice> device_ = std::make_shared<ScriptedDevice>();
};

TEST_F(DeviceImagesTest, PicksThePicturesOfTheDevicesFamilyAndButtons) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    // The image-name prefix the three keys share, or "" for no picture at all.
    std::string_view pictures;
  };
  const std::vector<Case> cases = {
      // Ends of each touch-ID list, to catch a list cut short.
      {"iPad2,1", std::nullopt, "iPad_touch_ID_"},
      {"iPad11,7", std::nullopt, "iPad_touch_ID_"},
      {"iPhone3,1", std::nullopt, "iPhone_touch_ID_"},
      {"iPhone12,8", std::nullopt, "iPhone_touch_ID_"},
      // Anything else of the family has face-ID pictures; a name with both is an iPad.
      {"iPhone10,3", std::nullopt, "iPhone_face_ID_"},
      {"IPHONE15,1", std::nullopt, "iPhone_face_ID_"},
      {"MyiPadClone", std::nullopt, "iPad_face_ID_"},
      {"iPhoneOniPad1,1", std::nullopt, "iPad_face_ID_"},
      {"Watch2,6", std::nullopt, ""},
      {"x86_64", std::nullopt, ""},
      {"iPhone12,8\0\0\0"s, std::nullopt, "iPhone_touch_ID_"},
      // The variable wins on a simulator and on a device alike, even when the table lacks it.
      {"x86_64", "iPhone99,1", "iPhone_face_ID_"},
      {"iPhone10,3", "iPhone12,8", "iPhone_touch_ID_"},
      {"iPhone12,8", "AppleTV5,3", ""},
  };
  for (const auto& c : cases) {
    runOn(c.machine, c.simulated);
    for (std::string_view key : {"volume_up", "volume_down", "screenshot"}) {
      std::string expected = c.pictures.empty() ? "" : std::string(c.pictures) + std::string(key);
      EXPECT_EQ(DeviceImages::imageName(key), expected)
          << "machine " << c.machine << ", variable " << c.simulated.value_or("(unset)");
    }
  }
}

using DeviceImagesDeathTest = DeviceImagesTest;

TEST_F(DeviceImagesDeathTest, UnknownKeyIsFatalOnEveryDevice) {
  // Also where the answer would otherwise be "": a bad key is the caller's bug, not the device's.
  for (std::string machine : {"iPhone12,8", "AppleTV5,3"}) {
    runOn(machine, std::nullopt);
    for (std::string_view key : {"", "Volume_up", "screenshot "}) {
      EXPECT_DEATH(DeviceImages::imageName(key), "image key") << machine << " / " << key;
    }
  }
}

}  // namespace
}  // namespace quorvel
