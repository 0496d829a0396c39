#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "linux/LinuxDevice.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

// A fake /sys, /proc, /etc and home under one temporary directory.
class LinuxDeviceTest : public ::testing::Test {
 protected:
  LinuxDevice device(const std::string& home = "home") const {
    std::filesystem::create_directories(tree.path() / "home");
    const auto at = [&](const char* name) { return (tree.path() / name).string(); };
    return LinuxDevice({at("sys"), at("proc"), at("etc"), at(home.c_str())});
  }

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

}  // namespace
}  // namespace quorvel
