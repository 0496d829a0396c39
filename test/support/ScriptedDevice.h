#pragma once

#include <map>

#include "quorvel/platform/Device.h"

namespace quorvel::testing {

// A device whose every answer is a field that a test sets.
class ScriptedDevice : public Device {
 public:
  std::string modelValue = "iPhone";
  std::string nameValue = "Test Device";
  std::string brandValue = "Quorvel Labs";
  std::string systemNameValue = "iOS";
  std::string systemVersionValue = "17.2";
  std::string osVersionStringValue = "Version 17.2 (Build 21C62)";
  std::optional<std::string> vendorIdentifier = "0f8fad5b-d9cb-469f-a165-70867728950e";
  std::string machine = "iPhone13,2";
  std::map<std::string, std::string> environment;
  double uptime = 12345.5;
  int processors = 6;
  int activeProcessors = 6;
  std::string process = "HostApp";
  std::uint64_t memory = 5'900'000'000ULL;
  std::int64_t totalDisk = 63'860'000'000LL;
  std::int64_t freeDisk = 20'000'000'000LL;
  std::string documents;
  int thermal = ThermalState::nominal;
  bool monitoring = false;
  BatteryState battery = BatteryState::charging;
  float level = 0.8f;
  std::optional<std::vector<std::pair<std::string, Carrier>>> carriers;

  std::string model() const override { return modelValue; }
  std::string name() const override { return nameValue; }
  std::string brand() const override { return brandValue; }
  std::string systemName() const override { return systemNameValue; }
  std::string systemVersion() const override { return systemVersionValue; }
  std::string operatingSystemVersionString() const override { return osVersionStringValue; }
  std::optional<std::string> identifierForVendor() const override { return vendorIdentifier; }
  std::string unameMachine() const override { return machine; }
  std::optional<std::string> environmentVariable(const std::string& key) const override {
    return environment.contains(key) ? std::optional(environment.at(key)) : std::nullopt;
  }
  double systemUptime() const override { return uptime; }
  int processorCount() const override { return processors; }
  int activeProcessorCount() const override { return activeProcessors; }
  std::string processName() const override { return process; }
  std::uint64_t physicalMemory() const override { return memory; }
  std::int64_t totalDiskSpaceInBytes() const override { return totalDisk; }
  std::int64_t freeDiskSpaceInBytes() const override { return freeDisk; }
  std::string documentsDirectory() const override { return documents; }
  int thermalState() const override { return thermal; }
  bool isBatteryMonitoringEnabled() const override { return monitoring; }
  void setBatteryMonitoringEnabled(bool enabled) override { monitoring = enabled; }
  // The cable goes in or out (or the battery fills): the state changes and, while monitoring is
  // on, observers hear of it.
  void setBattery(BatteryState state) {
    battery = state;
    batteryDidChange(BatteryChange::state);
  }
  // Every orientation a screen asked for, in order.
  std::vector<DeviceOrientation> orientationRequests;
  void setOrientation(DeviceOrientation orientation) override {
    orientationRequests.push_back(orientation);
  }
  BatteryState batteryState() const override {
    return monitoring ? battery : BatteryState::unknown;
  }
  float batteryLevel() const override { return monitoring ? level : -1.0f; }
  std::optional<std::vector<std::pair<std::string, Carrier>>> cellularProviders() const override {
    return carriers;
  }
};

}  // namespace quorvel::testing
