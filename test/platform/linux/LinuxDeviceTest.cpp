#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "linux/LinuxDevice.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

// A fake /sys, /proc, /etc and home under one temporary directory.
class LinuxDeviceTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(root_ / "home"); }

  void write(const std::string& relative, const std::string& content) {
    tree_.write(relative, content);
  }

  LinuxDevice::Roots roots() const {
    LinuxDevice::Roots r;
    r.sys = (root_ / "sys").string();
    r.proc = (root_ / "proc").string();
    r.etc = (root_ / "etc").string();
    r.home = (root_ / "home").string();
    return r;
  }

  LinuxDevice device() const { return LinuxDevice(roots()); }

  quorvel::testing::TemporaryTree tree_{"quorvel-device"};
  fs::path root_ = tree_.path();
};

TEST_F(LinuxDeviceTest, ModelFollowsSmbiosChassisCodes) {
  const std::pair<const char*, const char*> cases[] = {
      {"3\n", "Desktop"}, {"7\n", "Desktop"},   {"13\n", "Desktop"}, {"24\n", "Desktop"},
      {"8\n", "Laptop"},  {"10\n", "Laptop"},   {"31\n", "Laptop"},  {"32\n", "Laptop"},
      {"30\n", "Tablet"}, {"11\n", "Handheld"}, {"17\n", "Server"},  {"23\n", "Server"},
      {"29\n", "Server"}, {"2\n", "Computer"},  {"1\n", "Computer"}, {"10x\n", "Computer"},
  };
  for (const auto& [code, kind] : cases) {
    write("sys/class/dmi/id/chassis_type", code);
    EXPECT_EQ(device().model(), kind) << "chassis code " << code;
  }
}

TEST_F(LinuxDeviceTest, ModelFallsBackToDeviceTreeChassis) {
  EXPECT_EQ(device().model(), "Computer");
  const std::pair<std::string, const char*> cases[] = {
      {std::string("handset\0", 8), "Phone"},       {std::string("tablet\0", 7), "Tablet"},
      {std::string("convertible\0", 12), "Laptop"}, {std::string("laptop\0", 7), "Laptop"},
      {std::string("server\0", 7), "Server"},       {std::string("watch\0", 6), "Watch"},
  };
  for (const auto& [type, kind] : cases) {
    write("sys/firmware/devicetree/base/chassis-type", type);
    EXPECT_EQ(device().model(), kind) << type;
  }
  // An unrecognised DMI code says nothing, so the device tree still answers.
  write("sys/class/dmi/id/chassis_type", "2\n");
  EXPECT_EQ(device().model(), "Watch");
  write("sys/class/dmi/id/chassis_type", "9\n");
  EXPECT_EQ(device().model(), "Laptop");
}

TEST_F(LinuxDeviceTest, BrandComesFromDmiElseDeviceTreeElseTheSystemsVendor) {
  // Nothing tells the maker: the operating system's vendor, never nothing.
  EXPECT_EQ(device().brand(), "Linux");
  write("etc/os-release", "NAME=\"Debian GNU/Linux\"\n");
  EXPECT_EQ(device().brand(), "Debian GNU/Linux");
  write("etc/os-release", "NAME=\"Fedora Linux\"\nVENDOR_NAME=\"Fedora Project\"\n");
  EXPECT_EQ(device().brand(), "Fedora Project");
  write("sys/firmware/devicetree/base/compatible",
        std::string("raspberrypi,4-model-b\0brcm,bcm2711\0", 35));
  EXPECT_EQ(device().brand(), "Raspberrypi");
  write("sys/class/dmi/id/sys_vendor", "  LENOVO \n");
  EXPECT_EQ(device().brand(), "LENOVO");
}

TEST_F(LinuxDeviceTest, OsReleaseValuesAreUnquoted) {
  write("etc/os-release",
        "# comment NAME=\"Wrong\"\n"
        "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n"
        "NAME=\"Debian GNU/Linux\"\n"
        "VERSION_ID=\"12\"\n"
        "ID=debian\n");
  EXPECT_EQ(device().systemName(), "Debian GNU/Linux");
  EXPECT_EQ(device().systemVersion(), "12");

  write("etc/os-release", "NAME='Arch Linux'\nVERSION_ID=24.04 # rolling\n");
  EXPECT_EQ(device().systemName(), "Arch Linux");
  EXPECT_EQ(device().systemVersion(), "24.04");

  write("etc/os-release", "NAME=\"Say \\\"Hi\\\" \\\\ OS\"\n");
  EXPECT_EQ(device().systemName(), "Say \"Hi\" \\ OS");
  EXPECT_EQ(device().systemVersion(), "");
}

TEST_F(LinuxDeviceTest, FakeEtcWithoutOsReleaseDoesNotReadTheRealOne) {
  EXPECT_EQ(device().systemName(), "Linux");
  EXPECT_EQ(device().systemVersion(), "");
}

TEST_F(LinuxDeviceTest, VendorIdentifierIsAStableAppSpecificUuid) {
  write("etc/machine-id", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a\n");
  auto first = device().identifierForVendor();
  ASSERT_TRUE(first.has_value());
  // Fixed forever: a changed derivation would turn every known device into a new one.
  EXPECT_EQ(*first, "fc922ff8-ed8c-41d9-a34d-6c6389a32211");
  EXPECT_EQ(device().identifierForVendor(), first);
  const std::regex version4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
  EXPECT_TRUE(std::regex_match(*first, version4)) << *first;
  // The machine's own id must not show through.
  EXPECT_EQ(first->find("4f1c2e9a"), std::string::npos);

  write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
  auto other = device().identifierForVendor();
  ASSERT_TRUE(other.has_value());
  EXPECT_NE(*other, *first);
  EXPECT_TRUE(std::regex_match(*other, version4)) << *other;
}

TEST_F(LinuxDeviceTest, VendorIdentifierNeedsAValidMachineId) {
  EXPECT_FALSE(device().identifierForVendor().has_value()) << "missing file";
  for (const char* content :
       {"uninitialized\n", "", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7\n",
        "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a0\n", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7g\n",
        "00000000000000000000000000000000\n"}) {
    write("etc/machine-id", content);
    EXPECT_FALSE(device().identifierForVendor().has_value()) << "machine-id: " << content;
  }
}

TEST_F(LinuxDeviceTest, ProcFilesGiveMemoryUptimeAndProcessName) {
  write("proc/meminfo",
        "MemFree:         1000 kB\n"
        "MemTotal:       16318480 kB\n"
        "SwapTotal:      999 kB\n");
  write("proc/uptime", "12345.67 54321.00\n");
  write("proc/self/comm", "trade-in-checke\n");
  EXPECT_EQ(device().physicalMemory(), 16318480ULL * 1024);
  EXPECT_DOUBLE_EQ(device().systemUptime(), 12345.67);
  // comm is cut at 15 characters; the command line holds the whole name.
  EXPECT_EQ(device().processName(), "trade-in-checke");
  constexpr char cmdline[] = "/opt/shop/bin/trade-in-checker\0--fast\0";
  write("proc/self/cmdline", std::string(cmdline, sizeof cmdline - 1));
  EXPECT_EQ(device().processName(), "trade-in-checker");
}

TEST_F(LinuxDeviceTest, UnreadableProcFilesFallBackOrAnswerZero) {
  EXPECT_EQ(device().systemUptime(), 0.0);
  // Without meminfo the kernel is asked directly, so memory is still known.
  EXPECT_GT(device().physicalMemory(), 0u);
  write("proc/uptime", "not a number\n");
  EXPECT_EQ(device().systemUptime(), 0.0);
}

TEST_F(LinuxDeviceTest, DiskSizesAreThoseOfTheHomeFileSystem) {
  LinuxDevice d = device();
  EXPECT_GT(d.totalDiskSpaceInBytes(), 0);
  EXPECT_GE(d.freeDiskSpaceInBytes(), 0);
  EXPECT_LE(d.freeDiskSpaceInBytes(), d.totalDiskSpaceInBytes());

  LinuxDevice::Roots missing = roots();
  missing.home = (root_ / "no-such-home").string();
  LinuxDevice gone(missing);
  EXPECT_EQ(gone.totalDiskSpaceInBytes(), 0);
  EXPECT_EQ(gone.freeDiskSpaceInBytes(), 0);
}

TEST_F(LinuxDeviceTest, BatteryAnswersOnlyWhileMonitoring) {
  write("sys/class/power_supply/BAT0/type", "Battery\n");
  write("sys/class/power_supply/BAT0/status", "Charging\n");
  write("sys/class/power_supply/BAT0/capacity", "80\n");
  LinuxDevice d = device();
  EXPECT_FALSE(d.isBatteryMonitoringEnabled());
  EXPECT_EQ(d.batteryState(), BatteryState::unknown);
  EXPECT_EQ(d.batteryLevel(), -1.0f);

  d.setBatteryMonitoringEnabled(true);
  EXPECT_TRUE(d.isBatteryMonitoringEnabled());
  EXPECT_EQ(d.batteryState(), BatteryState::charging);
  EXPECT_EQ(d.batteryLevel(), 0.8f);

  d.setBatteryMonitoringEnabled(false);
  EXPECT_EQ(d.batteryState(), BatteryState::unknown);
  EXPECT_EQ(d.batteryLevel(), -1.0f);
}

TEST(LinuxDeviceOnThisMachine, AnswersAreSane) {
  LinuxDevice d;
  EXPECT_GE(d.processorCount(), 1);
  EXPECT_GE(d.activeProcessorCount(), 1);
  EXPECT_LE(d.activeProcessorCount(), d.processorCount());
  EXPECT_GT(d.totalDiskSpaceInBytes(), 0);
  EXPECT_GE(d.freeDiskSpaceInBytes(), 0);
  EXPECT_LE(d.freeDiskSpaceInBytes(), d.totalDiskSpaceInBytes());
  EXPECT_GT(d.physicalMemory(), 0u);
  EXPECT_GT(d.systemUptime(), 0.0);
  EXPECT_FALSE(d.processName().empty());
  EXPECT_FALSE(d.model().empty());
  EXPECT_FALSE(d.systemName().empty());
  EXPECT_EQ(d.operatingSystemVersionString().rfind("Linux ", 0), 0u)
      << d.operatingSystemVersionString();
  std::string machine = d.unameMachine();
  ASSERT_FALSE(machine.empty());
  EXPECT_NE(machine.front(), '\0');
  EXPECT_FALSE(d.cellularProviders().has_value());

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

}  // namespace
}  // namespace quorvel
