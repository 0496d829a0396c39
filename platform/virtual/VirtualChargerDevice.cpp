#include "quorvel/virtual/VirtualChargerDevice.h"

#include <algorithm>

#include "quorvel/Fatal.h"

namespace quorvel {

VirtualChargerDevice::VirtualChargerDevice(std::shared_ptr<Device> wrapped,
                                           std::shared_ptr<MainQueue> mainQueue, float level)
    : wrapped_(std::move(wrapped)), mainQueue_(std::move(mainQueue)), level_(level) {
  if (!wrapped_ || !mainQueue_) QUORVEL_FATAL("a virtual charger needs a device and a main queue");
  if (!(level >= 0.0f && level <= 1.0f)) QUORVEL_FATAL("a battery level lies within 0...1");
}

void VirtualChargerDevice::plug() {
  if (plugged_) return;
  plugged_ = true;
  announce(BatteryChange::state);
}

void VirtualChargerDevice::unplug() {
  if (!plugged_) return;
  plugged_ = false;
  announce(BatteryChange::state);
}

void VirtualChargerDevice::setLevel(float level) {
  if (!(level >= 0.0f && level <= 1.0f)) QUORVEL_FATAL("a battery level lies within 0...1");
  if (level == level_) return;
  const BatteryState before = scriptedState();
  level_ = level;
  announce(BatteryChange::level);
  if (scriptedState() != before) announce(BatteryChange::state);
}

BatteryState VirtualChargerDevice::scriptedState() const {
  if (!plugged_) return BatteryState::unplugged;
  return level_ >= 1.0f ? BatteryState::full : BatteryState::charging;
}

BatteryState VirtualChargerDevice::batteryState() const {
  return monitoring_ ? scriptedState() : BatteryState::unknown;
}

float VirtualChargerDevice::batteryLevel() const { return monitoring_ ? level_ : -1.0f; }

void VirtualChargerDevice::announce(BatteryChange change) {
  // A change while nobody monitors is never told, even if monitoring starts before the queue
  // gets to it; batteryDidChange checks again for monitoring that stopped meanwhile.
  if (!monitoring_) return;
  std::weak_ptr<int> alive = alive_;
  mainQueue_->async([this, alive, change] {
    if (alive.lock()) batteryDidChange(change);
  });
}

}  // namespace quorvel
