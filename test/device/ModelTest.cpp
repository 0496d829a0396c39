#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "device/Model.h"
#include "quorvel/platform/Platform.h"
#include "support/ScriptedDevice.h"

namespace quorvel {
namespace {

using testing::ScriptedDevice;

TEST(ModelTable, RawValuesRoundTripExactlyAndNothingElseMakesAModel) {
  for (Model model : allModels()) {
    std::string name(rawValue(model));
    EXPECT_EQ(makeModel(name), model) << name;
    EXPECT_EQ(makeModel(name + " "), std::nullopt) << name;
  }
  for (std::string_view other : {"", "IPHONE 12", "iPad Pro 9.7''", "iPhone13,2"}) {
    EXPECT_EQ(makeModel(other), std::nullopt) << other;
  }
}

// Every identifier has the shape <family><major>,<minor> (or is one of the two simulator
// architectures), so probing that space finds each entry once; a mistyped one goes missing.
TEST(ModelTable, HoldsOneHundredThirtyFiveIdentifiersEachOnceAndNoOthers) {
  std::vector<std::string> candidates = {"i386", "x86_64"};
  for (const char* family : {"iPad", "iPhone", "Watch"}) {
    for (int major = 0; major <= 30; ++major) {
      for (int minor = 0; minor <= 30; ++minor) {
        candidates.push_back(family + std::to_string(major) + "," + std::to_string(minor));
      }
    }
  }
  std::size_t found = 0;
  for (const auto& candidate : candidates) found += modelForIdentifier(candidate).has_value();
  EXPECT_EQ(modelIdentifierCount(), 135u);
  EXPECT_EQ(found, modelIdentifierCount()) << "an identifier is duplicated or mistyped";
  for (std::string_view identifier : {"arm64", "iPhone14,2", "iphone13,2", "iPhone13,2 "}) {
    EXPECT_EQ(modelForIdentifier(identifier), std::nullopt) << identifier;
  }
}

class CurrentDeviceTypeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform p;
    p.device = device_;
    installPlatform(p);
  }
  // Later tests must not see this device.
  void TearDown() override { installPlatform(Platform{}); }

  std::shared_ptr<ScriptedDevice> device_ = std::make_shared<ScriptedDevice>();
};

TEST_F(CurrentDeviceTypeTest, ResolvesTheMachineAndOnSimulatorsTheVariable) {
  using namespace std::string_literals;
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string_view expected;
  };
  const std::vector<Case> cases = {
      {"iPad6,3", std::nullopt, "iPad Pro 9.7\""},
      {"Watch2,6", std::nullopt, "Apple Watch Series 1"},
      // Newer hardware than the table: unrecognized, not a guess.
      {"iPhone14,2", std::nullopt, "?unrecognized?"},
      // Simulators on newer hosts report their host's architecture.
      {"arm64", "iPhone13,2", "?unrecognized?"},
      {"i386", "iPhone13,2", "iPhone 12"},
      {"x86_64", "iPhone99,1", "simulator/sandbox"},
      {"x86_64", "", "simulator/sandbox"},
      // A real device ignores the variable.
      {"iPhone10,3", "iPhone13,2", "iPhone X"},
      // uname's field is zero-padded; the padding is not part of the name, anything else is.
      {"x86_64\0\0\0\0"s, "iPhone13,2", "iPhone 12"},
      {"iPhone12,8\0"s, std::nullopt, "iPhone SE 2nd gen"},
      {"iPhone12,8\n", std::nullopt, "?unrecognized?"},
  };
  for (const auto& c : cases) {
    device_->machine = c.machine;
    device_->environment.clear();
    if (c.simulated) device_->environment["SIMULATOR_MODEL_IDENTIFIER"] = *c.simulated;
    EXPECT_EQ(rawValue(currentDeviceType()), c.expected)
        << "machine " << c.machine << ", variable " << c.simulated.value_or("(unset)");
  }
}

using CurrentDeviceTypeDeathTest = CurrentDeviceTypeTest;

TEST_F(CurrentDeviceTypeDeathTest, MachineThatIsNotUtf8IsFatal) {
  for (std::string machine : {"iPhone\xff", "x86_64\xc0\xaf"}) {
    device_->machine = machine;
    EXPECT_DEATH(currentDeviceType(), "UTF-8") << machine;
  }
}

}  // namespace
}  // namespace quorvel
