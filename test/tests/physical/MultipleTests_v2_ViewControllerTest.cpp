#include <gtest/gtest.h>

#include "support/TestScreenFixture.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"

namespace {

using namespace quorvel;

const std::string kCharging = "charging_v2";
const std::string kUp = "buttons_v2_volume_up";
const std::string kDown = "buttons_v2_volume_down";

class MultipleTests_v2_ViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  void showRows(std::vector<std::string> selection, BatteryState battery = BatteryState::unplugged,
                float level = 0.5f) {
    env.device->battery = battery;
    env.volume.systemChange(level);
    screen = show<MultipleTests_v2_ViewController>(
        [&](MultipleTests_v2_ViewController& s) { s.selectedTests = std::move(selection); });
  }

  std::vector<TestViewState> states() const {
    std::vector<TestViewState> all;
    for (const auto& row : screen->testsToPerform()) all.push_back(screen->state(row));
    return all;
  }
  bool done() const {
    return !screen->outlet<Button>("uiBtNext").hidden &&
           screen->outlet<Button>("uiBtCouldntCompleteTest").hidden;
  }
  void giveUp() { screen->sendAction("uiBtCouldntCompleteTest_TouchUpInside"); }
  const Dictionary& pressNext() {
    screen->sendAction("uiBtNext_TouchUpInside");
    return onlyReport().result;
  }

  std::shared_ptr<MultipleTests_v2_ViewController> screen;
};

TEST_F(MultipleTests_v2_ViewControllerTest, RowsInDisplayOrderPassByTheirEventsAndNextReports) {
  showRows({"multi_touch_v2", "buttons_v2", "charging_v2"});
  EXPECT_EQ(screen->testsToPerform(), (std::vector<std::string>{kCharging, kUp, kDown}));
  EXPECT_EQ(states(), (std::vector<TestViewState>{TestViewState::focused, TestViewState::unfocused,
                                                  TestViewState::unfocused}));
  EXPECT_TRUE(env.device->monitoring);
  env.volume.pressUp();  // the volume rows are not under test yet
  EXPECT_EQ(screen->currentTestPos(), 0);

  env.device->setBattery(BatteryState::full);
  EXPECT_FALSE(env.device->monitoring);
  env.volume.pressDown();  // not a press up
  env.volume.pressUp();
  env.volume.pressDown();
  EXPECT_EQ(states(), std::vector<TestViewState>(3, TestViewState::success));
  EXPECT_TRUE(done());

  EXPECT_EQ(pressNext(), Dictionary::parse(R"({
    "charging": {"version": "1", "success": true, "timestamp": "2024-03-01T10:15:30.123+0000",
                 "battery_state": "charging", "battery_level": -1.0},
    "buttons": {"version": "1", "timestamp": "2024-03-01T10:15:30.123+0000",
                "volume_up": {"success": true, "timestamp": "2024-03-01T10:15:30.123+0000"},
                "volume_down": {"success": true, "timestamp": "2024-03-01T10:15:30.123+0000"}}})"));
  // Next stops watching the battery only.
  env.volume.pressDown();
  EXPECT_EQ(screen->currentVolume(), env.volume.level());
}

TEST_F(MultipleTests_v2_ViewControllerTest, CableAlreadyInAndVolumeAtAnEndPassAtOnce) {
  showRows({"charging_v2", "buttons_v2"}, BatteryState::charging, 1.0f);
  EXPECT_EQ(screen->currentTestPos(), 1);
  env.volume.pressUp();  // reported as 1.0
  EXPECT_EQ(screen->currentTestPos(), 2);

  TearDown();
  SetUp();
  showRows({"buttons_v2"}, BatteryState::unplugged, 0.0f);
  giveUp();
  env.volume.pressDown();  // reported as 0.0
  EXPECT_EQ(states(), (std::vector<TestViewState>{TestViewState::failed, TestViewState::success}));
}

TEST_F(MultipleTests_v2_ViewControllerTest, GivingUpEveryRowStillLeadsToNextWithAPartPerTest) {
  showRows({"charging_v2", "buttons_v2"});
  for (int row = 0; row < 3; ++row) giveUp();
  EXPECT_TRUE(done());
  EXPECT_EQ(pressNext(), Dictionary::parse(R"({
    "charging": {"version": "1", "success": false, "timestamp": "2024-03-01T10:15:30.123+0000"},
    "buttons": {"version": "1", "timestamp": "2024-03-01T10:15:30.123+0000",
                "volume_up": {"success": false, "timestamp": "2024-03-01T10:15:30.123+0000"},
                "volume_down": {"success": false, "timestamp": "2024-03-01T10:15:30.123+0000"}}})"));
}

TEST_F(MultipleTests_v2_ViewControllerTest, CancelOrDisappearingStopsBothDetectors) {
  for (bool cancel : {true, false}) {
    SCOPED_TRACE(cancel ? "cancel" : "disappear");
    TearDown();
    SetUp();
    auto end = [&] { cancel ? (void)screen->sendAction("uiBtCancel_TouchUpInside") : cover(); };
    showRows({"charging_v2"});
    end();
    EXPECT_EQ(env.device->monitoring, !cancel);
    env.device->monitoring = true;
    env.device->setBattery(BatteryState::charging);
    EXPECT_EQ(screen->state(kCharging), TestViewState::focused);

    showRows({"buttons_v2"});
    end();
    env.volume.pressUp();
    EXPECT_EQ(screen->state(kUp), TestViewState::focused);
  }
}

}  // namespace
