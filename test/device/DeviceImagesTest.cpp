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

// The model comes from the machine, and from the variable only on a simulator; the pictures come
// from the reported identifier, where the variable wins on a simulator and on a device alike.
TEST_F(DeviceModelTest, ModelAndPicturesFollowTheMachineOrTheSimulatorVariable) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string_view model;
    std::string_view pictures;  // the prefix the three keys share, or "" for no picture
  };
  const std::vector<Case> cases = {
      {"iPad6,3", std::nullopt, "iPad Pro 9.7\"", "iPad_touch_ID_"},
      {"iPad11,7", std::nullopt, "iPad 8", "iPad_touch_ID_"},
      // Newer hardware than the tables: unrecognized, not a guess, and face-ID pictures of its
      // family; a name with both is an iPad.
      {"iPhone14,2", std::nullopt, "?unrecognized?", "iPhone_face_ID_"},
      {"IPHONE15,1", std::nullopt, "?unrecognized?", "iPhone_face_ID_"},
      {"iPhoneOniPad1,1", std::nullopt, "?unrecognized?", "iPad_face_ID_"},
      {"arm64", "iPhone13,2", "?unrecognized?", "iPhone_face_ID_"},
      {"i386", "iPhone13,2", "iPhone 12", "iPhone_face_ID_"},
      {"x86_64", std::nullopt, "simulator/sandbox", ""},
      {"x86_64", "iPhone99,1", "simulator/sandbox", "iPhone_face_ID_"},
      {"iPhone10,3", "iPhone13,2", "iPhone X", "iPhone_face_ID_"},
      // uname's field is zero-padded; the padding is not part of the model's name, anything else
      // is, though the reported identifier drops it.
      {"x86_64\0\0\0\0"s, "iPhone13,2", "iPhone 12", "iPhone_face_ID_"},
      {"iPhone12,8\0\0"s, std::nullopt, "iPhone SE 2nd gen", "iPhone_touch_ID_"},
      {"iPhone12,8\n", std::nullopt, "?unrecognized?", "iPhone_touch_ID_"},
      // The last case has no picture, for the bad key below.
      {"iPhone12,8", "AppleTV5,3", "iPhone SE 2nd gen", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.machine);
    runOn(c.machine, c.simulated);
    EXPECT_EQ(rawValue(currentDeviceType(*platform().device)), c.model);
    for (std::string_view key : {"volume_up", "volume_down", "screenshot"}) {
      EXPECT_EQ(DeviceImages::imageName(key, *platform().device),
                c.pictures.empty() ? "" : std::string(c.pictures) + std::string(key));
    }
  }
  // A bad key is the caller's bug, also where the device has no picture at all; so is a machine
  // name that is not UTF-8.
  EXPECT_DEATH(DeviceImages::imageName("Volume_up", *platform().device), "image key");
  device_->machine = "iPhone\xff";
  EXPECT_DEATH(currentDeviceType(*platform().device), "UTF-8");
}

TEST(ModelTable, RawValuesRoundTrip) {
  for (Model model : allModels()) EXPECT_EQ(makeModel(rawValue(model)), model);
  EXPECT_EQ(makeModel("IPHONE 12"), std::nullopt);
}

}  // namespace
}  // namespace quorvel
