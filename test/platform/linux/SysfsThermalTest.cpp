#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "linux/SysfsThermal.h"
#include "quorvel/platform/Device.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

// A fake /sys/class/thermal in a temporary directory.
class SysfsThermalTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(root_ / "class/thermal"); }

  void write(const fs::path& path, const std::string& value) {
    tree_.write(path.lexically_relative(root_), value + "\n");
  }

  // A zone at temperature (millidegrees) with (type, limit) trips numbered from 0.
  void addZone(const std::string& name, const std::string& temperature,
               const std::vector<std::pair<std::string, long>>& trips) {
    fs::path zone = root_ / "class/thermal" / name;
    write(zone / "temp", temperature);
    for (std::size_t i = 0; i < trips.size(); ++i) {
      std::string trip = "trip_point_" + std::to_string(i);
      write(zone / (trip + "_type"), trips[i].first);
      write(zone / (trip + "_temp"), std::to_string(trips[i].second));
    }
  }

  int state() const { return SysfsThermal(root_.string()).state(); }

  quorvel::testing::TemporaryTree tree_{"quorvel-sysfs"};
  fs::path root_ = tree_.path();
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
  EXPECT_EQ(SysfsThermal((root_ / "absent").string()).state(), ThermalState::unknown);

  // Cooling devices sit beside the zones and have no temperature.
  fs::create_directories(root_ / "class/thermal/cooling_device0");
  write(root_ / "class/thermal/thermal_zone3/type", "acpitz");
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
