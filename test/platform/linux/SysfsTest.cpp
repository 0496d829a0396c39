#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "linux/SysfsBattery.h"
#include "linux/SysfsThermal.h"
#include "quorvel/platform/Device.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

// A fake /sys/class/power_supply in a temporary directory.
class SysfsBatteryTest : public ::testing::Test {
 protected:
  // Writes "supply/attribute value" lines, one attribute each.
  void write(std::initializer_list<std::pair<const char*, const char*>> attributes) {
    for (const auto& [name, value] : attributes) {
      tree.write(std::filesystem::path("class/power_supply") / name, std::string(value) + "\n");
    }
  }
  SysfsBattery battery() const { return SysfsBattery(tree.path().string()); }

  quorvel::testing::TemporaryTree tree{"quorvel-sysfs"};
};

TEST_F(SysfsBatteryTest, StatusMapsToBatteryState) {
  EXPECT_EQ(SysfsBattery((tree.path() / "absent").string()).state(), BatteryState::unknown);
  write({{"BAT0/type", "Battery"}});
  const std::pair<const char*, BatteryState> cases[] = {{"Charging", BatteryState::charging},
                                                        {"Full", BatteryState::full},
                                                        {"Discharging", BatteryState::unplugged},
                                                        {"Unknown", BatteryState::unknown},
                                                        {"", BatteryState::unknown},
                                                        {"Not charging", BatteryState::unplugged}};
  for (const auto& [status, state] : cases) {
    write({{"BAT0/status", status}});
    EXPECT_EQ(battery().state(), state) << "status " << status;
  }
  // Not charging means plugged in only with external power online.
  write({{"AC/type", "Mains"}, {"AC/online", "0"}, {"AC/status", "Charging"}});
  EXPECT_EQ(battery().state(), BatteryState::unplugged);
  write({{"AC/online", "1"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  write({{"AC/online", "0"},
         {"ucsi-source-psy-USBC000:001/type", "USB"},
         {"ucsi-source-psy-USBC000:001/online", "1"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  // Without a battery, mains and all: unknown.
  std::filesystem::remove_all(tree.path() / "class/power_supply/BAT0");
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);
}

TEST_F(SysfsBatteryTest, PeripheralBatteriesAreIgnored) {
  // A mouse's battery alone is not the machine's.
  write({{"hid-mouse-battery/type", "Battery"},
         {"hid-mouse-battery/status", "Discharging"},
         {"hid-mouse-battery/scope", "Device"},
         {"hid-mouse-battery/capacity", "30"}});
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);
  // Even when it is listed first, the system battery answers.
  write({{"macsmc-battery/type", "Battery"},
         {"macsmc-battery/status", "Charging"},
         {"macsmc-battery/scope", "System"},
         {"macsmc-battery/capacity", "80"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  EXPECT_EQ(battery().level(), 0.8f);
}

TEST_F(SysfsBatteryTest, LevelFromCapacityElseChargeCounters) {
  write({{"BAT0/type", "Battery"}, {"BAT0/status", "Discharging"}});
  EXPECT_EQ(battery().level(), -1.0f);
  write({{"BAT0/energy_now", "30000000"}, {"BAT0/energy_full", "40000000"}});
  EXPECT_FLOAT_EQ(battery().level(), 0.75f);
  std::filesystem::remove(tree.path() / "class/power_supply/BAT0/energy_now");
  write({{"BAT0/charge_now", "1000000"}, {"BAT0/charge_full", "4000000"}});
  EXPECT_FLOAT_EQ(battery().level(), 0.25f);
  write({{"BAT0/charge_full", "0"}});
  EXPECT_EQ(battery().level(), -1.0f);
  write({{"BAT0/capacity", "80"}});
  EXPECT_EQ(battery().level(), 0.8f);
  write({{"BAT0/capacity", "100"}});
  EXPECT_EQ(battery().level(), 1.0f);
}

// A fake /sys/class/thermal in a temporary directory.
class SysfsThermalTest : public ::testing::Test {
 protected:
  // A zone at temperature (millidegrees) with (type, limit) trips numbered from 0.
  void addZone(const std::string& name, const std::string& temperature,
               const std::vector<std::pair<std::string, long>>& trips) {
    const std::string zone = "class/thermal/" + name + "/";
    tree.write(zone + "temp", temperature + "\n");
    for (std::size_t i = 0; i < trips.size(); ++i) {
      const std::string trip = zone + "trip_point_" + std::to_string(i);
      tree.write(trip + "_type", trips[i].first + "\n");
      tree.write(trip + "_temp", std::to_string(trips[i].second) + "\n");
    }
  }
  int state() const { return SysfsThermal(tree.path().string()).state(); }

  quorvel::testing::TemporaryTree tree{"quorvel-sysfs"};
};

const std::vector<std::pair<std::string, long>> kLaptopTrips = {
    {"critical", 105000}, {"hot", 95000}, {"passive", 80000}, {"active", 60000}};

TEST_F(SysfsThermalTest, TemperatureAgainstTripsGivesState) {
  const std::pair<const char*, int> cases[] = {
      // An active (fan) trip is not a limit.
      {"65000", ThermalState::nominal},   {"80000", ThermalState::fair},
      {"94999", ThermalState::fair},      {"95000", ThermalState::serious},
      {"105000", ThermalState::critical}, {"-5000", ThermalState::nominal},
  };
  for (const auto& [temperature, expected] : cases) {
    addZone("thermal_zone0", temperature, kLaptopTrips);
    EXPECT_EQ(state(), expected) << "temperature " << temperature;
  }
}

TEST_F(SysfsThermalTest, HottestZoneWins) {
  addZone("thermal_zone0", "85000", kLaptopTrips);
  addZone("thermal_zone1", "40000", {{"critical", 100000}});
  addZone("thermal_zone2", "99000", {{"hot", 98000}, {"critical", 120000}});
  EXPECT_EQ(state(), ThermalState::serious);
  addZone("thermal_zone1", "100000", {{"critical", 100000}});
  EXPECT_EQ(state(), ThermalState::critical);
}

TEST_F(SysfsThermalTest, ZonesWithoutReadingsOrRealLimits) {
  EXPECT_EQ(state(), ThermalState::unknown);
  EXPECT_EQ(SysfsThermal((tree.path() / "absent").string()).state(), ThermalState::unknown);

  // Cooling devices sit beside the zones and have no temperature.
  std::filesystem::create_directories(tree.path() / "class/thermal/cooling_device0");
  tree.write("class/thermal/thermal_zone3/type", "acpitz\n");
  EXPECT_EQ(state(), ThermalState::unknown);

  // Placeholder trips at 0 are not limits.
  addZone("thermal_zone4", "30000", {{"critical", 0}, {"hot", -273200}});
  EXPECT_EQ(state(), ThermalState::nominal);

  // A zone that fails to read does not hide a readable one.
  addZone("thermal_zone5", "error", {{"critical", 1000}});
  addZone("thermal_zone6", "90000", {{"passive", 85000}});
  EXPECT_EQ(state(), ThermalState::fair);
}

}  // namespace
}  // namespace quorvel
