#include <gtest/gtest.h>

#include "quorvel/ScreenType.h"
#include "support/ScriptedFingers.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;

// Runs with the SDK's own test screens, driven through the device's ports.
class PhysicalTestsRunTest : public quorvel::testing::SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    sdk.screenTable = ScreenTable();
    hostWithNavigation();
  }
};

TEST_F(PhysicalTestsRunTest, DefaultRunWalksTheCombinedScreenAndTheSlideTest) {
  env.device->battery = BatteryState::unplugged;
  start(std::nullopt, kValidIMEI);
  press("uiBtNext_TouchUpInside");
  ASSERT_EQ(topInterface(), "MultipleTests_v2_ViewController");
  EXPECT_EQ(top()->outlet<Label>("uiLbTestCounter").text, "Test 1/3");

  env.device->setBattery(BatteryState::charging);
  env.volume.pressUp();
  env.volume.pressDown();
  press("uiBtNext_TouchUpInside");

  ASSERT_EQ(topInterface(), "MultiTouch_v2_ViewController");
  auto slideTest = top();
  slideTest->outlet<ImageView>("uiImageSlide").bounds = {300, 200};
  quorvel::testing::ScriptedFingers(slideTest, "uiSliderView").slide(2, {150, 20}, {150, 190});
  settle();
  press("uiBtNext_TouchUpInside");

  // The video test has no screen in this build and is passed over.
  EXPECT_EQ(topInterface(), "TestsFinishedViewController");
  EXPECT_EQ(sdk.testResults.size(), 3u);
  EXPECT_EQ(sdk.testResults.at("charging").at("success"), true);
  EXPECT_EQ(sdk.testResults.at("buttons").at("volume_up").at("success"), true);
  EXPECT_EQ(sdk.testResults.at("buttons").at("volume_down").at("success"), true);
  EXPECT_EQ(sdk.testResults.at("multi_touch").at("success"), true);
  EXPECT_EQ(outcome->calls, 0);
}

TEST_F(PhysicalTestsRunTest, FirstGenerationScreensFileTheirResultsUnderTheirKeys) {
  struct Case {
    std::string key;
    int couldNotCompletePresses;
    const char* resultKey;
  };
  for (const auto& c : std::vector<Case>{{ScreenType::charging_v1, 1, "charging"},
                                         {ScreenType::buttons_v1, 3, "buttons"},
                                         {ScreenType::multi_touch_v1, 1, "multi_touch"}}) {
    SCOPED_TRACE(c.key);
    TearDown();
    SetUp();
    start(std::vector<std::string>{"multi_touch_v2"}, kValidIMEI);
    // No run selects these screens; one that did would show them like any other.
    sdk.selectedTests = {c.key};
    press("uiBtNext_TouchUpInside");
    for (int i = 0; i < c.couldNotCompletePresses; ++i) {
      press("uiBtCouldntCompleteTest_TouchUpInside");
    }
    EXPECT_EQ(topInterface(), "TestsFinishedViewController");
    EXPECT_EQ(sdk.testResults.size(), 1u);
    EXPECT_TRUE(sdk.testResults.contains(c.resultKey));
  }
}

}  // namespace
