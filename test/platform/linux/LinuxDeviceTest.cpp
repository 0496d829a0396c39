#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
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
  // The first and last code of each group, so that a group cut short shows.
  const std::pair<const char*, const char*> cases[] = {
      {"3\n", "Desktop"},  {"24\n", "Desktop"},   {"8\n", "Laptop"},  {"32\n", "Laptop"},
      {"30\n", "Tablet"},  {"11\n", "Handheld"},  {"17\n", "Server"}, {"29\n", "Server"},
      {"2\n", "Computer"}, {"10x\n", "Computer"},
  };
  for (const auto& [code, kind] : cases) {
    write("sys/class/dmi/id/chassis_type", code);
    EXPECT_EQ(device().model(), kind) << "chassis code " << code;
  }
}

TEST_F(LinuxDeviceTest, ModelFallsBackToDeviceTreeChassis) {
  EXPECT_EQ(device().model(), "Computer");
  const std::pair<const char*, const char*> cases[] = {
      {"handset", "Phone"}, {"tablet", "Tablet"}, {"convertible", "Laptop"},
      {"server", "Server"}, {"watch", "Watch"},
  };
  for (const auto& [type, kind] : cases) {
    write("sys/firmware/devicetree/base/chassis-type", std::string(type) + '\0');
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

TEST_F(LinuxDeviceTest, OsReleaseValuesAreUnquotedAndTheRealOneIsNeverRead) {
  EXPECT_EQ(device().systemName(), "Linux");
  EXPECT_EQ(device().systemVersion(), "");
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

TEST_F(LinuxDeviceTest, VendorIdentifierIsAStableAppSpecificUuid) {
  write("etc/machine-id", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a\n");
  auto first = device().identifierForVendor();
  ASSERT_TRUE(first.has_value());
  // Fixed forever: a changed derivation would turn every known device into a new one.
  EXPECT_EQ(*first, "fc922ff8-ed8c-41d9-a34d-6c6389a32211");
  EXPECT_EQ(device().identifierForVendor(), first);
  write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
  EXPECT_NE(device().identifierForVendor(), first);
}

TEST_F(LinuxDeviceTest, VendorIdentifierNeedsAValidMachineId) {
  EXPECT_FALSE(device().identifierForVendor().has_value()) << "missing file";
  for (const char* content :
       {"uninitialized\n", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7\n",
        "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7a0\n", "4f1c2e9a8b7d6c5e4f3a2b1c0d9e8f7g\n",
        "00000000000000000000000000000000\n"}) {
    write("etc/machine-id", content);
    EXPECT_FALSE(device().identifierForVendor().has_value()) << "machine-id: " << content;
  }
}

TEST_F(LinuxDeviceTest, ProcFilesGiveMemoryUptimeAndProcessName) {
  EXPECT_EQ(device().systemUptime(), 0.0);
  // Without meminfo the kernel is asked directly, so memory is still known.
  EXPECT_GT(device().physicalMemory(), 0u);
  write("proc/uptime", "not a number\n");
  EXPECT_EQ(device().systemUptime(), 0.0);
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

TEST_F(LinuxDeviceTest, DiskSizesOfAMissingHomeAreZero) {
  LinuxDevice::Roots missing = roots();
  missing.home = (root_ / "no-such-home").string();
  LinuxDevice gone(missing);
  EXPECT_EQ(gone.totalDiskSpaceInBytes(), 0);
  EXPECT_EQ(gone.freeDiskSpaceInBytes(), 0);
}

TEST(LinuxDeviceOnThisMachine, AnswersAreSane) {
  LinuxDevice d;
  EXPECT_GE(d.processorCount(), 1);
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

}  // namespace
}  // namespace quorvel
