#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "linux/LinuxDevice.h"
#include "linux/UPowerBattery.h"
#include "quorvel/platform/Platform.h"
#include "support/ManualMainQueue.h"
#include "support/PrivateBus.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

using quorvel::testing::PrivateBus;

constexpr const char* kUPower = "org.freedesktop.UPower";
constexpr const char* kDisplayDevice = "/org/freedesktop/UPower/devices/DisplayDevice";
constexpr const char* kMock = "org.freedesktop.DBus.Mock";
// UPower's codes.
constexpr std::uint32_t kBattery = 2, kLinePower = 1;
constexpr std::uint32_t kCharging = 1, kDischarging = 2;

TEST(UPowerBatteryReading, DisplayDeviceCodesMapToBatteryStates) {
  const auto reading = [](std::int64_t type, bool present, std::int64_t state) {
    return UPowerBattery::readingOf(
        {{"Type", type}, {"IsPresent", present}, {"State", state}, {"Percentage", 42.0}});
  };
  const std::pair<std::int64_t, BatteryState> states[] = {
      {0, BatteryState::unknown},   {1, BatteryState::charging}, {2, BatteryState::unplugged},
      {3, BatteryState::unplugged}, {4, BatteryState::full},     {5, BatteryState::charging},
      {6, BatteryState::unplugged}, {7, BatteryState::unknown}};
  for (const auto& [code, state] : states) {
    EXPECT_EQ(reading(kBattery, true, code).state, state) << "UPower state " << code;
  }
  EXPECT_FLOAT_EQ(reading(kBattery, true, 1).level, 0.42f);
  // Without a battery there is nothing to read, whatever the rest says.
  const UPowerBattery::Reading none;
  EXPECT_EQ(reading(kLinePower, true, 1), none);
  EXPECT_EQ(reading(kBattery, false, 1), none);
  EXPECT_EQ(UPowerBattery::readingOf({}), none);
}

// A LinuxDevice on a private system bus, over a fake power-supply tree whose battery reads
// differently from UPower's, so that the source of every answer shows.
class UPowerDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(bus.running());
    Platform p;
    p.mainQueue = queue;
    installPlatform(p);
    setSupply("Discharging", 50);
  }
  void TearDown() override { installPlatform(Platform{}); }

  void setSupply(const char* status, int percent) {
    tree.write("sys/class/power_supply/BAT0/type", "Battery\n");
    tree.write("sys/class/power_supply/BAT0/status", std::string(status) + "\n");
    tree.write("sys/class/power_supply/BAT0/capacity", std::to_string(percent) + "\n");
  }
  std::unique_ptr<LinuxDevice> makeDevice() {
    const auto at = [&](const char* name) { return (tree.path() / name).string(); };
    auto device = std::make_unique<LinuxDevice>(
        LinuxDevice::Roots{at("sys"), at("proc"), at("etc"), at("home")});
    observing = device->observeBattery([this](BatteryChange c) { heard.push_back(c); });
    return device;
  }
  bool startUPower(std::uint32_t state, double percentage) {
    return bus.startMock(kUPower, {"--template", "upower"}) &&
           bus.call(kUPower, "/org/freedesktop/UPower", kMock, "SetupDisplayDevice", "uuddddxxbsu",
                    kBattery, state, percentage, 0.0, 0.0, 0.0, std::int64_t{0}, std::int64_t{0}, 1,
                    "", std::uint32_t{1});
  }
  template <class T>
  bool setDisplayDevice(const char* property, const char* type, T value) {
    return bus.call(kUPower, "/org/freedesktop/UPower", kMock, "SetDeviceProperties", "oa{sv}",
                    kDisplayDevice, 1, property, type, value);
  }
  // Runs the main queue until the device answers state, the watcher posting from its thread.
  // The getters answer from the bus thread's latest reading at once, and the change reaches the
  // observers through the main queue just after: wait for both.
  bool reaches(const LinuxDevice& device, BatteryState state, std::size_t changesHeard) {
    return PrivateBus::eventually([&] {
      queue->runUntilIdle();
      return device.batteryState() == state && heard.size() >= changesHeard;
    });
  }

  PrivateBus bus;
  std::shared_ptr<quorvel::testing::ManualMainQueue> queue =
      std::make_shared<quorvel::testing::ManualMainQueue>();
  quorvel::testing::TemporaryTree tree{"quorvel-upower"};
  std::vector<BatteryChange> heard;
  Subscription observing;
};

TEST_F(UPowerDeviceTest, DisplayDeviceAndItsSignalsReachTheMainQueueOnlyWhileMonitoring) {
  ASSERT_TRUE(startUPower(kCharging, 42.0));
  auto device = makeDevice();
  EXPECT_EQ(device->batteryState(), BatteryState::unknown);
  EXPECT_EQ(device->batteryLevel(), -1.0f);

  device->setBatteryMonitoringEnabled(true);
  EXPECT_EQ(device->batteryState(), BatteryState::charging);
  EXPECT_FLOAT_EQ(device->batteryLevel(), 0.42f);
  EXPECT_TRUE(queue->pendingDelays().empty()) << "UPower answers: no polling";

  ASSERT_TRUE(setDisplayDevice("State", "u", kDischarging));
  ASSERT_TRUE(reaches(*device, BatteryState::unplugged, 1)) << "the cable's removal never arrived";
  EXPECT_EQ(heard, std::vector<BatteryChange>{BatteryChange::state});
  ASSERT_TRUE(setDisplayDevice("Percentage", "d", 41.0));
  ASSERT_TRUE(PrivateBus::eventually([&] {
    queue->runUntilIdle();
    return heard.size() == 2;
  })) << "the level change never arrived";
  EXPECT_EQ(heard.back(), BatteryChange::level);
  EXPECT_FLOAT_EQ(device->batteryLevel(), 0.41f);

  device->setBatteryMonitoringEnabled(false);
  ASSERT_TRUE(setDisplayDevice("State", "u", kCharging));
  queue->runUntilIdle();
  EXPECT_EQ(heard.size(), 2u);
  EXPECT_EQ(device->batteryState(), BatteryState::unknown);
  EXPECT_EQ(device->batteryLevel(), -1.0f);
}

// Without UPower on the bus, battery notifications come from polling the power supplies on the
// main queue, and only while monitoring.
TEST_F(UPowerDeviceTest, PowerSuppliesAnswerWhileUPowerIsAwayAndEachSwitchIsHeard) {
  auto device = makeDevice();
  setSupply("Charging", 80);
  queue->advance(5);
  EXPECT_TRUE(queue->pendingDelays().empty()) << "polling before monitoring";
  EXPECT_EQ(device->batteryState(), BatteryState::unknown);
  device->setBatteryMonitoringEnabled(true);
  EXPECT_EQ(device->batteryState(), BatteryState::charging);
  EXPECT_FLOAT_EQ(device->batteryLevel(), 0.8f);
  EXPECT_EQ(queue->pendingDelays(), std::vector<double>{LinuxDevice::kBatteryPollSeconds});
  queue->advance(LinuxDevice::kBatteryPollSeconds);
  EXPECT_TRUE(heard.empty()) << "monitoring starts from what the supply reports now";

  ASSERT_TRUE(startUPower(kDischarging, 42.0));
  ASSERT_TRUE(reaches(*device, BatteryState::unplugged, 2)) << "UPower's arrival was not followed";
  EXPECT_FLOAT_EQ(device->batteryLevel(), 0.42f);
  EXPECT_TRUE(queue->pendingDelays().empty()) << "polling goes on beside UPower";

  heard.clear();
  setSupply("Full", 100);
  ASSERT_TRUE(bus.stopMock(kUPower));
  ASSERT_TRUE(reaches(*device, BatteryState::full, 2)) << "UPower's departure was not followed";
  EXPECT_EQ(heard, (std::vector<BatteryChange>{BatteryChange::state, BatteryChange::level}));
  // Polling is back, until monitoring ends.
  setSupply("Charging", 90);
  queue->advance(LinuxDevice::kBatteryPollSeconds);
  EXPECT_EQ(device->batteryState(), BatteryState::charging);
  EXPECT_EQ(heard.size(), 4u);
  device->setBatteryMonitoringEnabled(false);
  EXPECT_EQ(device->batteryLevel(), -1.0f);
  setSupply("Discharging", 40);
  queue->advance(5);
  EXPECT_EQ(heard.size(), 4u);
  EXPECT_TRUE(queue->pendingDelays().empty());
}

}  // namespace
}  // namespace quorvel
