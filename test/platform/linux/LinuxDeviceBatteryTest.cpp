#include <gtest/gtest.h>

#include "linux/LinuxDevice.h"
#include "quorvel/platform/Platform.h"
#include "support/ManualMainQueue.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

// Battery notifications from polling a fake /sys/class/power_supply on a virtual-time queue.
class LinuxDeviceBatteryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform p;
    p.mainQueue = queue;
    installPlatform(p);
    setBattery("Discharging", 50);
  }
  void TearDown() override { installPlatform(Platform{}); }

  void setBattery(const char* status, int percent) {
    tree.write("sys/class/power_supply/BAT0/type", "Battery\n");
    tree.write("sys/class/power_supply/BAT0/status", std::string(status) + "\n");
    tree.write("sys/class/power_supply/BAT0/capacity", std::to_string(percent) + "\n");
  }

  quorvel::testing::TemporaryTree tree{"quorvel-battery"};
  std::shared_ptr<quorvel::testing::ManualMainQueue> queue =
      std::make_shared<quorvel::testing::ManualMainQueue>();
  LinuxDevice device{LinuxDevice::Roots{(tree.path() / "sys").string(), "/proc", "/etc", "/"}};
  std::vector<BatteryChange> heard;
  Subscription observing =
      device.observeBattery([this](BatteryChange change) { heard.push_back(change); });
};

TEST_F(LinuxDeviceBatteryTest, ValuesAndChangesAreReportedOnlyWhileMonitoring) {
  setBattery("Charging", 80);
  queue->advance(5);
  EXPECT_TRUE(queue->pendingDelays().empty());
  EXPECT_EQ(device.batteryState(), BatteryState::unknown);
  EXPECT_EQ(device.batteryLevel(), -1.0f);

  device.setBatteryMonitoringEnabled(true);
  EXPECT_EQ(device.batteryState(), BatteryState::charging);
  EXPECT_EQ(device.batteryLevel(), 0.8f);
  queue->advance(LinuxDevice::kBatteryPollSeconds);
  EXPECT_TRUE(heard.empty());  // monitoring starts from what the supply reports now
  setBattery("Full", 100);
  queue->advance(LinuxDevice::kBatteryPollSeconds);
  EXPECT_EQ(heard, (std::vector<BatteryChange>{BatteryChange::state, BatteryChange::level}));
  EXPECT_EQ(device.batteryState(), BatteryState::full);

  device.setBatteryMonitoringEnabled(false);
  EXPECT_EQ(device.batteryLevel(), -1.0f);
  setBattery("Discharging", 90);
  queue->advance(5);
  EXPECT_EQ(heard.size(), 2u);
  EXPECT_TRUE(queue->pendingDelays().empty());
}

}  // namespace
}  // namespace quorvel
