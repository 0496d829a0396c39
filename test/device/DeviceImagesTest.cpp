#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/DeviceImages.h"
#include "device/Model.h"
#include "quorvel/platform/Platform.h"
#include "support/ScriptedDevice.h"

namespace quorvel {
namespace {

using namespace std::string_literals;

class DeviceModelTest : public ::testing::Test {
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

  std::shared_ptr<testing::ScriptedDevice> device_ = std::make_shared<testing::ScriptedDevice>();
};

TEST_F(DeviceModelTest, ModelComesFromTheMachineAndOnSimulatorsFromTheVariable) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string_view model;
  };
  const std::vector<Case> cases = {
      {"iPad6,3", std::nullopt, "iPad Pro 9.7\""},
      // Newer hardware than the table: unrecognized, not a guess.
      {"iPhone14,2", std::nullopt, "?unrecognized?"},
      {"arm64", "iPhone13,2", "?unrecognized?"},
      {"i386", "iPhone13,2", "iPhone 12"},
      {"x86_64", "iPhone99,1", "simulator/sandbox"},
      {"iPhone10,3", "iPhone13,2", "iPhone X"},  // a real device ignores the variable
      // uname's field is zero-padded; the padding is not part of the name, anything else is.
      {"x86_64\0\0\0\0"s, "iPhone13,2", "iPhone 12"},
      {"iPhone12,8\n", std::nullopt, "?unrecognized?"},
  };
  for (const auto& c : cases) {
    runOn(c.machine, c.simulated);
    EXPECT_EQ(rawValue(currentDeviceType(*platform().device)), c.model) << c.machine;
  }
  device_->machine = "iPhone\xff";
  EXPECT_DEATH(currentDeviceType(*platform().device), "UTF-8");
}

TEST(ModelTable, RawValuesRoundTrip) {
  for (Model model : allModels()) EXPECT_EQ(makeModel(rawValue(model)), model);
  EXPECT_EQ(makeModel("IPHONE 12"), std::nullopt);
}

TEST_F(DeviceModelTest, PicturesFollowTheDevicesFamilyAndButtons) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string_view pictures;  // the prefix the three keys share, or "" for no picture
  };
  const std::vector<Case> cases = {
      {"iPad11,7", std::nullopt, "iPad_touch_ID_"},
      {"iPhone12,8\0\0"s, std::nullopt, "iPhone_touch_ID_"},
      // Anything else of the family has face-ID pictures; a name with both is an iPad.
      {"IPHONE15,1", std::nullopt, "iPhone_face_ID_"},
      {"iPhoneOniPad1,1", std::nullopt, "iPad_face_ID_"},
      {"x86_64", std::nullopt, ""},
      // The variable wins on a simulator and on a device alike, even when the table lacks it.
      {"x86_64", "iPhone99,1", "iPhone_face_ID_"},
      {"iPhone12,8", "AppleTV5,3", ""},
  };
  for (const auto& c : cases) {
    runOn(c.machine, c.simulated);
    for (std::string_view key : {"volume_up", "volume_down", "screenshot"}) {
      EXPECT_EQ(DeviceImages::imageName(key, *platform().device),
                c.pictures.empty() ? "" : std::string(c.pictures) + std::string(key))
          << c.machine;
    }
  }
  // A bad key is the caller's bug, also where the device has no picture at all.
  EXPECT_DEATH(DeviceImages::imageName("Volume_up", *platform().device), "image key");
}

}  // namespace
}  // namespace quorvel
