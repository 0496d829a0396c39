#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "linux/SysfsBattery.h"
#include "linux/SysfsThermal.h"
#include "linux/UPowerBattery.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// The device facts of a Linux machine: DMI or the device tree, os-release, machine-id, uname,
// /proc, statvfs, thermal zones, UPower or the power supplies, and ModemManager.
class LinuxDevice : public Device {
 public:
  // Where the system trees live; tests point these at fake trees.
  struct Roots {
    std::string sys = "/sys";
    std::string proc = "/proc";
    std::string etc = "/etc";
    std::string home;  // empty: $HOME, else the password database
  };

  LinuxDevice();
  explicit LinuxDevice(Roots roots);
  ~LinuxDevice() override;

  std::string model() const override;
  std::string name() const override;
  std::string brand() const override;

  std::string systemName() const override;
  std::string systemVersion() const override;
  std::string operatingSystemVersionString() const override;

  std::optional<std::string> identifierForVendor() const override;

  std::string unameMachine() const override;
  std::optional<std::string> environmentVariable(const std::string& name) const override;

  double systemUptime() const override;
  int processorCount() const override;
  int activeProcessorCount() const override;
  std::string processName() const override;
  std::uint64_t physicalMemory() const override;

  std::int64_t totalDiskSpaceInBytes() const override;
  std::int64_t freeDiskSpaceInBytes() const override;
  // $XDG_DOCUMENTS_DIR, else the user's xdg-user-dirs setting, else ~/Documents.
  std::string documentsDirectory() const override;

  int thermalState() const override;

  bool isBatteryMonitoringEnabled() const override;
  void setBatteryMonitoringEnabled(bool enabled) override;
  BatteryState batteryState() const override;
  float batteryLevel() const override;
  // While monitoring is on, the battery follows UPower's signals; where UPower is not on the
  // system bus, the power supplies are read every second on the main queue instead.
  static constexpr double kBatteryPollSeconds = 1.0;

  // A desktop's screen does not turn with the application.
  void setOrientation(DeviceOrientation) override {}

  std::optional<std::vector<std::pair<std::string, Carrier>>> cellularProviders() const override;

 private:
  UPowerBattery::Reading currentBattery() const;
  // Follows whichever source answers now and reports what changed since the last report.
  void refreshBattery();
  void scheduleBatteryPoll();
  void pollBattery();
  std::string osReleaseField(const std::string& key) const;
  std::string homeDirectory() const;

  Roots roots_;
  SysfsThermal thermal_;
  SysfsBattery battery_;
  std::atomic<bool> batteryMonitoring_{false};
  // Exists while monitoring is on and the system bus answers.
  std::unique_ptr<UPowerBattery> upower_;
  // What observers last heard of, to tell changes apart.
  UPowerBattery::Reading reported_;
  // Runs only while the power supplies are the source.
  std::shared_ptr<WorkItem> batteryPoll_;
  // Expires with the device, so that the watcher's posts still queued do nothing.
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace quorvel
