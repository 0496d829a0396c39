#pragma once

#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// A device with a charger that a script plugs in and out. Every fact but the battery comes from
// the wrapped device; the battery starts unplugged at a chosen level. Like a real battery it
// answers unknown and -1.0 while monitoring is off, and its notifications arrive on the main
// queue, only while monitoring is on.
class QUORVEL_EXPORT VirtualChargerDevice : public Device {
 public:
  VirtualChargerDevice(std::shared_ptr<Device> wrapped, std::shared_ptr<MainQueue> mainQueue,
                       float level = 0.8f);

  // The cable goes in: charging, or full when the level is already 1.0.
  void plug();
  // The cable comes out: unplugged.
  void unplug();
  // The battery drains or fills to level (0...1); a plugged battery at 1.0 is full.
  void setLevel(float level);

  std::string model() const override { return wrapped_->model(); }
  std::string name() const override { return wrapped_->name(); }
  std::string brand() const override { return wrapped_->brand(); }
  std::string systemName() const override { return wrapped_->systemName(); }
  std::string systemVersion() const override { return wrapped_->systemVersion(); }
  std::string operatingSystemVersionString() const override {
    return wrapped_->operatingSystemVersionString();
  }
  std::optional<std::string> identifierForVendor() const override {
    return wrapped_->identifierForVendor();
  }
  std::string unameMachine() const override { return wrapped_->unameMachine(); }
  std::optional<std::string> environmentVariable(const std::string& key) const override {
    return wrapped_->environmentVariable(key);
  }
  double systemUptime() const override { return wrapped_->systemUptime(); }
  int processorCount() const override { return wrapped_->processorCount(); }
  int activeProcessorCount() const override { return wrapped_->activeProcessorCount(); }
  std::string processName() const override { return wrapped_->processName(); }
  std::uint64_t physicalMemory() const override { return wrapped_->physicalMemory(); }
  std::int64_t totalDiskSpaceInBytes() const override { return wrapped_->totalDiskSpaceInBytes(); }
  std::int64_t freeDiskSpaceInBytes() const override { return wrapped_->freeDiskSpaceInBytes(); }
  std::string documentsDirectory() const override { return wrapped_->documentsDirectory(); }
  int thermalState() const override { return wrapped_->thermalState(); }
  void setOrientation(DeviceOrientation orientation) override {
    wrapped_->setOrientation(orientation);
  }
  std::optional<std::vector<std::pair<std::string, Carrier>>> cellularProviders() const override {
    return wrapped_->cellularProviders();
  }

  bool isBatteryMonitoringEnabled() const override { return monitoring_; }
  void setBatteryMonitoringEnabled(bool enabled) override { monitoring_ = enabled; }
  BatteryState batteryState() const override;
  float batteryLevel() const override;

 private:
  BatteryState scriptedState() const;
  void announce(BatteryChange change);

  std::shared_ptr<Device> wrapped_;
  std::shared_ptr<MainQueue> mainQueue_;
  bool monitoring_ = false;
  bool plugged_ = false;
  float level_;
  // Notifications still on the queue must not reach a device that is gone.
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace quorvel
