#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "linux/LinuxDevice.h"
#include "linux/SharedMimeInfoTypeRegistry.h"
#include "linux/SysfsBattery.h"
#include "linux/SysfsThermal.h"
#include "linux/UPowerBattery.h"
#include "quorvel/platform/Platform.h"
#include "support/ManualMainQueue.h"
#include "support/PrivateBus.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

using quorvel::testing::PrivateBus;

// A fake /sys, /proc, /etc and home under one temporary directory.
class LinuxDeviceTest : public ::testing::Test {
 protected:
  LinuxDevice::Roots roots(const std::string& home = "home") const {
    std::filesystem::create_directories(tree.path() / "home");
    const auto at = [&](const std::string& name) { return (tree.path() / name).string(); };
    return {at("sys"), at("proc"), at("etc"), at(home)};
  }
  LinuxDevice device(const std::string& home = "home") const { return LinuxDevice(roots(home)); }
  // Writes "supply/attribute" values of /sys/class/power_supply, one line each.
  void supply(std::initializer_list<std::pair<const char*, std::string>> attributes) const {
    for (const auto& [name, value] : attributes) {
      tree.write(std::filesystem::path("sys/class/power_supply") / name, value + "\n");
    }
  }
  SysfsBattery battery() const { return SysfsBattery((tree.path() / "sys").string()); }

  quorvel::testing::TemporaryTree tree{"quorvel-device"};
};

TEST_F(LinuxDeviceTest, ModelFromSmbiosChassisCodesElseTheDeviceTree) {
  EXPECT_EQ(device().model(), "Computer");
  const std::pair<const char*, const char*> trees[] = {
      {"handset", "Phone"}, {"tablet", "Tablet"}, {"convertible", "Laptop"},
      {"server", "Server"}, {"watch", "Watch"},
  };
  for (const auto& [type, kind] : trees) {
    tree.write("sys/firmware/devicetree/base/chassis-type", std::string(type) + '\0');
    EXPECT_EQ(device().model(), kind) << type;
  }
  // The first and last code of each group, so that a group cut short shows; an unrecognised code
  // says nothing, so the device tree still answers.
  const std::pair<const char*, const char*> codes[] = {
      {"3\n", "Desktop"}, {"24\n", "Desktop"},  {"8\n", "Laptop"},  {"32\n", "Laptop"},
      {"30\n", "Tablet"}, {"11\n", "Handheld"}, {"17\n", "Server"}, {"29\n", "Server"},
      {"2\n", "Watch"},   {"10x\n", "Watch"},   {"9\n", "Laptop"},
  };
  for (const auto& [code, kind] : codes) {
    tree.write("sys/class/dmi/id/chassis_type", code);
    EXPECT_EQ(device().model(), kind) << "chassis code " << code;
  }
}

TEST_F(LinuxDeviceTest, BrandComesFromDmiElseDeviceTreeElseTheSystemsVendor) {
  // Nothing tells the maker: the operating system's vendor, never nothing.
  EXPECT_EQ(device().brand(), "Linux");
  const std::pair<const char*, std::string> steps[] = {
      {"etc/os-release", "NAME=\"Debian GNU/Linux\"\n"},
      {"etc/os-release", "NAME=\"Fedora Linux\"\nVENDOR_NAME=\"Fedora Project\"\n"},
      {"sys/firmware/devicetree/base/compatible",
       std::string("raspberrypi,4-model-b\0brcm,bcm2711\0", 35)},
      {"sys/class/dmi/id/sys_vendor", "  LENOVO \n"}};
  const char* brands[] = {"Debian GNU/Linux", "Fedora Project", "Raspberrypi", "LENOVO"};
  for (std::size_t i = 0; i < std::size(steps); ++i) {
    tree.write(steps[i].first, steps[i].second);
    EXPECT_EQ(device().brand(), brands[i]);
  }
}

TEST_F(LinuxDeviceTest, OsReleaseValuesAreUnquotedAndTheRealOneIsNeverRead) {
  EXPECT_EQ(device().systemName(), "Linux");
  EXPECT_EQ(device().systemVersion(), "");
  const char* const cases[][3] = {
      {"# comment NAME=\"Wrong\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"
       "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nID=debian\n",
       "Debian GNU/Linux", "12"},
      {"NAME='Arch Linux'\nVERSION_ID=24.04 # rolling\n", "Arch Linux", "24.04"},
      {"NAME=\"Say \\\"Hi\\\" \\\\ OS\"\n", "Say \"Hi\" \\ OS", ""}};
  for (const auto& [content, name, version] : cases) {
    tree.write("etc/os-release", content);
    EXPECT_EQ(device().systemName(), name);
    EXPECT_EQ(device().systemVersion(), version);
  }
}

TEST_F(LinuxDeviceTest, VendorIdentifierIsAStableAppSpecificUuidOfAValidMachineId) {
  tree.write("etc/machine-id", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a\n");
  // Fixed forever: a changed derivation would turn every known device into a new one.
  EXPECT_EQ(device().identifierForVendor(), "fc922ff8-ed8c-41d9-a34d-6c6389a32211");
  tree.write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
  EXPECT_NE(device().identifierForVendor(), "fc922ff8-ed8c-41d9-a34d-6c6389a32211");
  EXPECT_TRUE(device().identifierForVendor().has_value());
  for (const char* content :
       {"uninitialized\n", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7\n",
        "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a0\n", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7g\n",
        "00000000000000000000000000000000\n"}) {
    tree.write("etc/machine-id", content);
    EXPECT_FALSE(device().identifierForVendor().has_value()) << "machine-id: " << content;
  }
  std::filesystem::remove(tree.path() / "etc/machine-id");
  EXPECT_FALSE(device().identifierForVendor().has_value()) << "missing file";
}

TEST_F(LinuxDeviceTest, ProcFilesGiveMemoryUptimeAndProcessName) {
  EXPECT_EQ(device().systemUptime(), 0.0);
  // Without meminfo the kernel is asked directly, so memory is still known.
  EXPECT_GT(device().physicalMemory(), 0u);
  tree.write("proc/uptime", "not a number\n");
  EXPECT_EQ(device().systemUptime(), 0.0);
  tree.write("proc/meminfo", "MemFree: 1000 kB\nMemTotal:       16318480 kB\nSwapTotal: 999 kB\n");
  tree.write("proc/uptime", "12345.67 54321.00\n");
  tree.write("proc/self/comm", "trade-in-checke\n");
  EXPECT_EQ(device().physicalMemory(), 16318480ULL * 1024);
  EXPECT_DOUBLE_EQ(device().systemUptime(), 12345.67);
  // comm is cut at 15 characters; the command line holds the whole name.
  EXPECT_EQ(device().processName(), "trade-in-checke");
  constexpr char cmdline[] = "/opt/shop/bin/trade-in-checker\0--fast\0";
  tree.write("proc/self/cmdline", std::string(cmdline, sizeof cmdline - 1));
  EXPECT_EQ(device().processName(), "trade-in-checker");
  // The disk sizes of a missing home are zero.
  EXPECT_EQ(device("no-such-home").totalDiskSpaceInBytes(), 0);
  EXPECT_EQ(device("no-such-home").freeDiskSpaceInBytes(), 0);
}

using SharedMimeInfoTypeRegistryTest = LinuxDeviceTest;

TEST_F(SharedMimeInfoTypeRegistryTest, HighestWeightThenFirstListedAndEarlierDirectoriesWin) {
  tree.write("user/mime/globs2",
             "# user overrides\n"
             "50:audio/x-user-m4a:*.m4a\n");
  tree.write("system/mime/globs2",
             "# comment\n"
             "50:audio/mp4:*.m4a\n"
             "50:application/json:*.json\n"
             "50:application/schema+json:*.json\n"
             "40:text/x-low:*.txt\n"
             "60:text/plain:*.txt\n"
             "50:text/x-c++src:*.C:cs\n"
             "50:text/x-csrc:*.c\n"
             "50:application/x-core:core\n"
             "50:text/x-readme:README*\n"
             "50:application/x-tar-gz:*.tar.gz\n");
  SharedMimeInfoTypeRegistry registry(
      {(tree.path() / "user").string(), (tree.path() / "system").string()});
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"m4a", "audio/x-user-m4a"}, {"json", "application/json"}, {"JSON", "application/json"},
      {"txt", "text/plain"},       {"C", "text/x-c++src"},       {"c", "text/x-csrc"},
      {"gz", std::nullopt},        {"core", std::nullopt},       {"", std::nullopt},
      {"unknownext", std::nullopt}};
  for (const auto& [extension, type] : cases) {
    EXPECT_EQ(registry.preferredMIMEType(extension), type) << extension;
  }
}

TEST(LinuxDeviceOnThisMachine, AnswersAreSane) {
  LinuxDevice d;
  EXPECT_TRUE(d.activeProcessorCount() >= 1 && d.activeProcessorCount() <= d.processorCount());
  EXPECT_TRUE(d.freeDiskSpaceInBytes() >= 0 &&
              d.freeDiskSpaceInBytes() <= d.totalDiskSpaceInBytes());
  EXPECT_GT(d.totalDiskSpaceInBytes(), 0);
  EXPECT_GT(d.systemUptime(), 0.0);
  EXPECT_FALSE(d.processName().empty());
  EXPECT_EQ(d.operatingSystemVersionString().rfind("Linux ", 0), 0u)
      << d.operatingSystemVersionString();
  EXPECT_NE(d.unameMachine().c_str()[0], '\0');
  ::setenv("QUORVEL_DEVICE_TEST_VARIABLE", "set", 1);
  EXPECT_EQ(d.environmentVariable("QUORVEL_DEVICE_TEST_VARIABLE"), "set");
  ::unsetenv("QUORVEL_DEVICE_TEST_VARIABLE");
  EXPECT_FALSE(d.environmentVariable("QUORVEL_DEVICE_TEST_VARIABLE").has_value());
  int thermal = d.thermalState();
  EXPECT_TRUE(thermal >= ThermalState::unknown && thermal <= ThermalState::critical) << thermal;
  d.setBatteryMonitoringEnabled(true);
  float level = d.batteryLevel();
  EXPECT_TRUE(level == -1.0f || (level >= 0.0f && level <= 1.0f)) << level;
}

using SysfsBatteryTest = LinuxDeviceTest;

TEST_F(SysfsBatteryTest, StatusMapsToBatteryState) {
  EXPECT_EQ(SysfsBattery((tree.path() / "absent").string()).state(), BatteryState::unknown);
  supply({{"BAT0/type", "Battery"}});
  const std::pair<const char*, BatteryState> cases[] = {{"Charging", BatteryState::charging},
                                                        {"Full", BatteryState::full},
                                                        {"Discharging", BatteryState::unplugged},
                                                        {"Unknown", BatteryState::unknown},
                                                        {"", BatteryState::unknown},
                                                        {"Not charging", BatteryState::unplugged}};
  for (const auto& [status, state] : cases) {
    supply({{"BAT0/status", status}});
    EXPECT_EQ(battery().state(), state) << "status " << status;
  }
  // Not charging means plugged in only with external power online.
  supply({{"AC/type", "Mains"}, {"AC/online", "0"}, {"AC/status", "Charging"}});
  EXPECT_EQ(battery().state(), BatteryState::unplugged);
  supply({{"AC/online", "1"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  supply({{"AC/online", "0"},
          {"ucsi-source-psy-USBC000:001/type", "USB"},
          {"ucsi-source-psy-USBC000:001/online", "1"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  // Without a battery, mains and all: unknown.
  std::filesystem::remove_all(tree.path() / "sys/class/power_supply/BAT0");
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);
}

TEST_F(SysfsBatteryTest, PeripheralBatteriesAreIgnored) {
  // A mouse's battery alone is not the machine's.
  supply({{"hid-mouse-battery/type", "Battery"},
          {"hid-mouse-battery/status", "Discharging"},
          {"hid-mouse-battery/scope", "Device"},
          {"hid-mouse-battery/capacity", "30"}});
  EXPECT_EQ(battery().state(), BatteryState::unknown);
  EXPECT_EQ(battery().level(), -1.0f);
  // Even when it is listed first, the system battery answers.
  supply({{"macsmc-battery/type", "Battery"},
          {"macsmc-battery/status", "Charging"},
          {"macsmc-battery/scope", "System"},
          {"macsmc-battery/capacity", "80"}});
  EXPECT_EQ(battery().state(), BatteryState::charging);
  EXPECT_EQ(battery().level(), 0.8f);
}

TEST_F(SysfsBatteryTest, LevelFromCapacityElseChargeCounters) {
  supply({{"BAT0/type", "Battery"}, {"BAT0/status", "Discharging"}});
  EXPECT_EQ(battery().level(), -1.0f);
  supply({{"BAT0/energy_now", "30000000"}, {"BAT0/energy_full", "40000000"}});
  EXPECT_FLOAT_EQ(battery().level(), 0.75f);
  std::filesystem::remove(tree.path() / "sys/class/power_supply/BAT0/energy_now");
  supply({{"BAT0/charge_now", "1000000"}, {"BAT0/charge_full", "4000000"}});
  EXPECT_FLOAT_EQ(battery().level(), 0.25f);
  supply({{"BAT0/charge_full", "0"}});
  EXPECT_EQ(battery().level(), -1.0f);
  supply({{"BAT0/capacity", "80"}});
  EXPECT_EQ(battery().level(), 0.8f);
  supply({{"BAT0/capacity", "100"}});
  EXPECT_EQ(battery().level(), 1.0f);
}

class SysfsThermalTest : public LinuxDeviceTest {
 protected:
  // A zone at temperature (millidegrees) with (type, limit) trips numbered from 0.
  void addZone(const std::string& name, const std::string& temperature,
               const std::vector<std::pair<std::string, long>>& trips) {
    const std::string zone = "sys/class/thermal/" + name + "/";
    tree.write(zone + "temp", temperature + "\n");
    for (std::size_t i = 0; i < trips.size(); ++i) {
      const std::string trip = zone + "trip_point_" + std::to_string(i);
      tree.write(trip + "_type", trips[i].first + "\n");
      tree.write(trip + "_temp", std::to_string(trips[i].second) + "\n");
    }
  }
  int state() const { return SysfsThermal((tree.path() / "sys").string()).state(); }
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
  std::filesystem::create_directories(tree.path() / "sys/class/thermal/cooling_device0");
  tree.write("sys/class/thermal/thermal_zone3/type", "acpitz\n");
  EXPECT_EQ(state(), ThermalState::unknown);

  // Placeholder trips at 0 are not limits.
  addZone("thermal_zone4", "30000", {{"critical", 0}, {"hot", -273200}});
  EXPECT_EQ(state(), ThermalState::nominal);

  // A zone that fails to read does not hide a readable one.
  addZone("thermal_zone5", "error", {{"critical", 1000}});
  addZone("thermal_zone6", "90000", {{"passive", 85000}});
  EXPECT_EQ(state(), ThermalState::fair);
}

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
class UPowerDeviceTest : public LinuxDeviceTest {
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
    supply({{"BAT0/type", "Battery"},
            {"BAT0/status", status},
            {"BAT0/capacity", std::to_string(percent)}});
  }
  std::unique_ptr<LinuxDevice> makeDevice() {
    auto device = std::make_unique<LinuxDevice>(roots());
    observing = device->observeBattery([this](BatteryChange c) { heard.push_back(c); });
    return device;
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
  std::vector<BatteryChange> heard;
  Subscription observing;
};

TEST_F(UPowerDeviceTest, DisplayDeviceAndItsSignalsReachTheMainQueueOnlyWhileMonitoring) {
  ASSERT_TRUE(bus.startUPower(kCharging, 42.0));
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
  ASSERT_TRUE(reaches(*device, BatteryState::unplugged, 2)) << "the level change never arrived";
  EXPECT_EQ(heard, (std::vector<BatteryChange>{BatteryChange::state, BatteryChange::level}));
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

  ASSERT_TRUE(bus.startUPower(kDischarging, 42.0));
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
