#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "linux/SysfsBattery.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

// A fake /sys/class/power_supply in a temporary directory.
class SysfsBatteryTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(root_ / "class/power_supply"); }

  void write(const std::string& supply, const std::string& attribute, const std::string& value) {
    tree_.write(fs::path("class/power_supply") / supply / attribute, value + "\n");
  }

  void addBattery(const std::string& name, const std::string& status) {
    write(name, "type", "Battery");
    write(name, "status", status);
  }

  SysfsBattery battery() const { return SysfsBattery(root_.string()); }

  quorvel::testing::TemporaryTree tree_{"quorvel-sysfs"};
  fs::path root_ = tree_.path();
};

TEST_F(SysfsBatteryTest, StatusMapsToBatteryState) {
  const std::pair<const char*, BatteryState> cases[] = {
      {"Charging", BatteryState::charging},
      {"Full", BatteryState::full},
      {"Discharging", BatteryState::unplugged},
      {"Unknown", BatteryState::unknown},
      {"", BatteryState::unknown},
  };
  for (const auto& [status, state] : cases) {
    addBattery("BAT0", status);
    EXPECT_EQ(battery().state(), state) << "status " << status;
  }
}

TEST_F(SysfsBatteryTest, NotChargingMeansPluggedInOnlyWithExternalPowerOnline) {
  addBattery("BAT0", "Not charging");
  EXPECT_EQ(battery().state(), BatteryState::unplugged);

  write("AC", "type", "Mains");
  write("AC", "online", "0");
  EXPECT_EQ(battery().state(), BatteryState::unplugged);
  write("AC", "online", "1");
  EXPECT_EQ(battery().state(), BatteryState::charging);

  write("AC", "online", "0");
  write("ucsi-source-psy-USBC000:001", "type", "USB");
  write("ucsi-source-psy-USBC000:001", "online", "1");
  EXPECT_EQ(battery().state(), BatteryState::charging);
}

TEST_F(SysfsBatteryTest, PeripheralBatteriesAreIgnored) {
  // A mouse's battery alone is not the machine's.
  addBattery("hid-mouse-battery", "Discharging");
  write("hid-mouse-battery", "scope", "Device");
  write("hid-mouse-battery", "capacity", "30");
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);

  // Even when it is listed first, the system battery answers.
  addBattery("macsmc-battery", "Charging");
  write("macsmc-battery", "scope", "System");
  write("macsmc-battery", "capacity", "80");
  EXPECT_EQ(battery().state(), BatteryState::charging);
  EXPECT_EQ(battery().level(), 0.8f);
}

TEST_F(SysfsBatteryTest, LevelFromCapacityElseChargeCounters) {
  addBattery("BAT0", "Discharging");
  EXPECT_EQ(battery().level(), -1.0f);

  write("BAT0", "energy_now", "30000000");
  write("BAT0", "energy_full", "40000000");
  EXPECT_FLOAT_EQ(battery().level(), 0.75f);

  fs::remove(root_ / "class/power_supply/BAT0/energy_now");
  write("BAT0", "charge_now", "1000000");
  write("BAT0", "charge_full", "4000000");
  EXPECT_FLOAT_EQ(battery().level(), 0.25f);

  write("BAT0", "charge_full", "0");
  EXPECT_EQ(battery().level(), -1.0f);

  write("BAT0", "capacity", "80");
  EXPECT_EQ(battery().level(), 0.8f);
  write("BAT0", "capacity", "100");
  EXPECT_EQ(battery().level(), 1.0f);
}

TEST_F(SysfsBatteryTest, MachineWithoutBatteryIsUnknown) {
  write("AC", "type", "Mains");
  write("AC", "online", "1");
  write("AC", "status", "Charging");
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);
  EXPECT_EQ(SysfsBattery((root_ / "absent").string()).state(), BatteryState::unknown);
}

}  // namespace
}  // namespace quorvel
