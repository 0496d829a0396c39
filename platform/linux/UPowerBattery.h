#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "linux/SdBus.h"
#include "quorvel/platform/Device.h"

namespace quorvel {

// The battery as UPower's display device reports it, followed over the system bus by a watcher
// thread with its own connection. It also follows UPower's name, so it knows when the service comes
// and goes.
class UPowerBattery {
 public:
  struct Reading {
    BatteryState state = BatteryState::unknown;
    float level = -1.0f;
    bool operator==(const Reading&) const = default;
  };

  // Reads the display device now and starts watching. changed runs on the watcher thread after
  // every change of reading() (UPower appearing or vanishing included). Null when the system bus
  // cannot be reached.
  static std::unique_ptr<UPowerBattery> start(std::function<void()> changed);
  ~UPowerBattery();
  UPowerBattery(const UPowerBattery&) = delete;
  UPowerBattery& operator=(const UPowerBattery&) = delete;

  // What the display device reports; no value while UPower is not on the bus. Any thread.
  std::optional<Reading> reading() const;

  // The display device's properties as a reading.
  static Reading readingOf(const SdBus::Properties& device);

 private:
  UPowerBattery(SdBus bus, std::function<void()> changed);
  bool subscribe();
  std::optional<Reading> reload();
  // Keeps reading and calls changed when it differs from the one kept. Watcher thread.
  void publish(std::optional<Reading> reading);
  void watch();
  static int onPropertiesChanged(sd_bus_message* message, void* self, sd_bus_error*);
  static int onOwnerChanged(sd_bus_message* message, void* self, sd_bus_error*);

  SdBus bus_;
  std::function<void()> changed_;
  // The display device's last known properties; no value while UPower is away. Watcher thread.
  std::optional<SdBus::Properties> device_;
  mutable std::mutex mutex_;
  std::optional<Reading> reading_;
  int stop_ = -1;  // eventfd that ends the watcher
  std::thread watcher_;
};

}  // namespace quorvel
