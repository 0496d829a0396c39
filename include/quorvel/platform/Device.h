#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/platform/ObserverList.h"

namespace quorvel {

// Battery state, with the raw values the device record decodes.
enum class BatteryState : int { unknown = 0, unplugged = 1, charging = 2, full = 3 };

// What a battery notification is about.
enum class BatteryChange { state, level };

// Interface orientations, with the raw values the system uses.
enum class DeviceOrientation : int {
  unknown = 0,
  portrait = 1,
  portraitUpsideDown = 2,
  landscapeLeft = 3,
  landscapeRight = 4,
};

// Thermal state raw values: 0 nominal, 1 fair, 2 serious, 3 critical; anything else is unknown.
namespace ThermalState {
inline constexpr int nominal = 0;
inline constexpr int fair = 1;
inline constexpr int serious = 2;
inline constexpr int critical = 3;
inline constexpr int unknown = -1;
}  // namespace ThermalState

// One cellular subscription's provider. Empty strings mean "not reported".
struct QUORVEL_EXPORT Carrier {
  std::string carrierName;
  bool allowsVOIP = false;
  std::string isoCountryCode;
  std::string mobileCountryCode;
  std::string mobileNetworkCode;
};

// What the device itself reports: identity, system, process, memory, storage, power, carriers.
// Strings that the system does not report are empty.
class QUORVEL_EXPORT Device {
 public:
  virtual ~Device() = default;

  // Kind of device ("iPhone", "Laptop", "Phone" ...) and the user-given name.
  virtual std::string model() const = 0;
  virtual std::string name() const = 0;
  // The device's maker, or where the system does not tell it, the operating system's vendor; the
  // record always carries it.
  virtual std::string brand() const = 0;

  virtual std::string systemName() const = 0;
  virtual std::string systemVersion() const = 0;
  virtual std::string operatingSystemVersionString() const = 0;

  // A UUID string that is stable for this device and vendor, if the system has one.
  virtual std::optional<std::string> identifierForVendor() const = 0;

  // The raw bytes of uname's machine field (may hold anything, including trailing zeros).
  virtual std::string unameMachine() const = 0;
  virtual std::optional<std::string> environmentVariable(const std::string& name) const = 0;

  virtual double systemUptime() const = 0;
  virtual int processorCount() const = 0;
  virtual int activeProcessorCount() const = 0;
  virtual std::string processName() const = 0;
  virtual std::uint64_t physicalMemory() const = 0;

  // Sizes of the file system that holds the home directory; free is what an unprivileged process
  // may still use.
  virtual std::int64_t totalDiskSpaceInBytes() const = 0;
  virtual std::int64_t freeDiskSpaceInBytes() const = 0;
  // The directory where the host application keeps the person's documents.
  virtual std::string documentsDirectory() const = 0;

  virtual int thermalState() const = 0;

  // Battery readings answer unknown and -1.0 while monitoring is off.
  virtual bool isBatteryMonitoringEnabled() const = 0;
  virtual void setBatteryMonitoringEnabled(bool enabled) = 0;
  virtual BatteryState batteryState() const = 0;
  virtual float batteryLevel() const = 0;
  // Battery notifications arrive on the main queue, and only while monitoring is on.
  Subscription observeBattery(std::function<void(BatteryChange)> observer) {
    return batteryObservers_.add(std::move(observer));
  }

  // Turns the interface to orientation; a screen that does not rotate ignores it.
  virtual void setOrientation(DeviceOrientation orientation) = 0;

  // One provider per subscription, in the system's order; no value when the system returns no
  // provider dictionary at all (an empty list is a dictionary with no entries).
  virtual std::optional<std::vector<std::pair<std::string, Carrier>>> cellularProviders() const = 0;

 protected:
  // Adapters call this when the battery's state or level changed.
  void batteryDidChange(BatteryChange change) {
    if (isBatteryMonitoringEnabled()) batteryObservers_.notify(change);
  }

 private:
  ObserverList<BatteryChange> batteryObservers_;
};

}  // namespace quorvel
