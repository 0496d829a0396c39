#include <gtest/gtest.h>

#include "support/TestScreenFixture.h"
#include "tests/physical/Charging_v1_ViewController.h"

namespace {

using namespace quorvel;

class Charging_v1_ViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  std::shared_ptr<Charging_v1_ViewController> showCharging(BatteryState state) {
    env.device->battery = state;
    return show<Charging_v1_ViewController>();
  }

  static void expectDetected(const Charging_v1_ViewController& screen, bool detected) {
    EXPECT_EQ(screen.outlet<Button>("uiBtNext").hidden, !detected);
    EXPECT_EQ(screen.outlet<ImageView>("uiImage").image,
              Image::asset(detected ? "power_cable_plugged" : "power_cable_unplugged"));
  }

  const Dictionary kSuccess = Dictionary::parse(R"({"success": true, "battery_state": "charging",
      "battery_level": -1.0, "timestamp": "2024-03-01T10:15:30.123+0000", "version": "1"})");
};

TEST_F(Charging_v1_ViewControllerTest, CableAlreadyInOrFullAtLoadIsDetectedAtOnce) {
  for (auto state : {BatteryState::charging, BatteryState::full}) {
    delegate->reports.clear();
    auto screen = showCharging(state);
    expectDetected(*screen, true);
    EXPECT_FALSE(env.device->monitoring);
    // Monitoring went off at detection, so the level reads as the device reports it then.
    screen->sendAction("uiBtNext_TouchUpInside");
    EXPECT_EQ(onlyReport().result, kSuccess);
  }
}

TEST_F(Charging_v1_ViewControllerTest, DetectionByNotificationNeverGoesBack) {
  auto screen = showCharging(BatteryState::unplugged);
  expectDetected(*screen, false);
  // Giving up is possible at any time, and reports no battery keys.
  screen->sendAction("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result, (Dictionary{{"success", false},
                                             {"timestamp", "2024-03-01T10:15:30.123+0000"},
                                             {"version", "1"}}));
  env.device->setBattery(BatteryState::unknown);
  expectDetected(*screen, false);
  env.device->setBattery(BatteryState::charging);
  expectDetected(*screen, true);
  EXPECT_FALSE(env.device->monitoring);
  // Unplugged again, even with a notification reaching the screen.
  env.device->monitoring = true;
  env.device->setBattery(BatteryState::unplugged);
  expectDetected(*screen, true);
  env.device->monitoring = false;
  screen->sendAction("uiBtNext_TouchUpInside");
  EXPECT_EQ(delegate->reports.back().result, kSuccess);
}

}  // namespace
