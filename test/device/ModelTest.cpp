#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
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

    std::string upper = name;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string lower = name;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (upper != name) {
      EXPECT_EQ(makeModel(upper), std::nullopt) << upper;
    }
    if (lower != name) {
      EXPECT_EQ(makeModel(lower), std::nullopt) << lower;
    }
    EXPECT_EQ(makeModel(name + " "), std::nullopt) << name;
  }
  for (std::string_view other :
       {"", "iPad Pro 9.7", "iPad Pro 9.7''", "iPhone13,2", "unrecognized"}) {
    EXPECT_EQ(makeModel(other), std::nullopt) << other;
  }
}

// Every identifier has the shape <family><major>,<minor> (or is one of the two simulator
// architectures), so probing that whole space finds each entry of the table, and a mistyped
// identifier shows up as a missing one.
std::map<std::string, Model> probeIdentifierSpace() {
  std::map<std::string, Model> found;
  std::vector<std::string> candidates = {"i386", "x86_64"};
  for (const char* family : {"iPad", "iPhone", "Watch"}) {
    for (int major = 0; major <= 30; ++major) {
      for (int minor = 0; minor <= 30; ++minor) {
        candidates.push_back(std::string(family) + std::to_string(major) + "," +
                             std::to_string(minor));
      }
    }
  }
  for (const auto& candidate : candidates) {
    if (auto model = modelForIdentifier(candidate)) found.emplace(candidate, *model);
  }
  return found;
}

TEST(ModelTable, HoldsOneHundredThirtyFiveIdentifiersEachOnce) {
  EXPECT_EQ(modelIdentifierCount(), 135u);
  EXPECT_EQ(probeIdentifierSpace().size(), modelIdentifierCount())
      << "an identifier is duplicated or mistyped";
}

TEST(ModelTable, MapsIdentifiersToTheirCommercialNames) {
  const std::vector<std::pair<std::string_view, std::string_view>> cases = {
      {"i386", "simulator/sandbox"},
      {"x86_64", "simulator/sandbox"},
      {"iPad3,4", "iPad 4"},
      {"iPad6,3", "iPad Pro 9.7\""},
      {"iPad8,10", "iPad Pro 11\" 2nd gen"},
      {"iPad13,4", "iPad Pro 11\" 3rd gen"},
      {"iPad13,11", "iPad Pro 5 12.9\""},
      {"iPad14,2", "iPad Mini 6"},
      {"iPhone5,3", "iPhone 5C"},
      {"iPhone7,1", "iPhone 6 Plus"},
      {"iPhone7,2", "iPhone 6"},
      {"iPhone10,3", "iPhone X"},
      {"iPhone12,8", "iPhone SE 2nd gen"},
      {"iPhone13,2", "iPhone 12"},
      {"Watch2,3", "Apple Watch Series 2"},
      {"Watch2,6", "Apple Watch Series 1"},
      {"Watch5,9", "Apple Watch Special Edition"},
  };
  for (const auto& [identifier, name] : cases) {
    auto model = modelForIdentifier(identifier);
    ASSERT_TRUE(model.has_value()) << identifier;
    EXPECT_EQ(rawValue(*model), name) << identifier;
  }
}

TEST(ModelTable, KnowsNoIdentifierOutsideTheTable) {
  for (std::string_view identifier :
       {"", "arm64", "iPhone14,2", "iPhone14,5", "Watch6,6", "AppleTV5,3", "iphone13,2",
        "IPHONE13,2", "iPhone13,2 ", " iPhone13,2", "iPhone13.2"}) {
    EXPECT_EQ(modelForIdentifier(identifier), std::nullopt) << identifier;
  }
}

class CurrentDeviceTypeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    device_ = std::make_shared<ScriptedDevice>();
    Platform p;
    p.device = device_;
    installPlatform(p);
  }
  // Later tests must not see this device.
  void TearDown() override { installPlatform(Platform{}); }

  std::shared_ptr<ScriptedDevice> device_;
};

struct DeviceTypeCase {
  std::string machine;
  std::optional<std::string> simulated;
  std::string_view expected;
};

TEST_F(CurrentDeviceTypeTest, ResolvesTheMachineAndOnSimulatorsTheVariable) {
  using namespace std::string_literals;
  const std::vector<DeviceTypeCase> cases = {
      {"iPhone12,8", std::nullopt, "iPhone SE 2nd gen"},
      {"iPhone10,3", std::nullopt, "iPhone X"},
      {"Watch2,6", std::nullopt, "Apple Watch Series 1"},
      {"Watch2,3", std::nullopt, "Apple Watch Series 2"},
      // Newer hardware than the table: unrecognized, not a guess.
      {"iPhone14,2", std::nullopt, "?unrecognized?"},
      // Simulators on newer hosts report their host's architecture.
      {"arm64", std::nullopt, "?unrecognized?"},
      {"arm64", "iPhone13,2", "?unrecognized?"},
      {"x86_64", std::nullopt, "simulator/sandbox"},
      {"x86_64", "iPhone13,2", "iPhone 12"},
      {"i386", "iPhone13,2", "iPhone 12"},
      {"x86_64", "iPhone99,1", "simulator/sandbox"},
      {"x86_64", "", "simulator/sandbox"},
      {"x86_64", "x86_64", "simulator/sandbox"},
      // A real device ignores the variable.
      {"iPhone10,3", "iPhone13,2", "iPhone X"},
      // uname's field is zero-padded; the padding is not part of the name.
      {"x86_64\0\0\0\0"s, "iPhone13,2", "iPhone 12"},
      {"iPhone12,8\0"s, std::nullopt, "iPhone SE 2nd gen"},
      // Anything else around the name is kept, so it no longer matches.
      {"iPhone12,8\n", std::nullopt, "?unrecognized?"},
      {" x86_64", std::nullopt, "?unrecognized?"},
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
  for (std::string machine : {"iPhone\xff", "x86_64\xc0\xaf", "\xed\xa0\x80"}) {
    device_->machine = machine;
    EXPECT_DEATH(currentDeviceType(), "UTF-8") << machine;
  }
}

}  // namespace
}  // namespace quorvel
