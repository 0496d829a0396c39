#include "linux/UPowerBattery.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace quorvel {

namespace {

constexpr const char* kService = "org.freedesktop.UPower";
constexpr const char* kDisplayDevice = "/org/freedesktop/UPower/devices/DisplayDevice";
constexpr const char* kDeviceInterface = "org.freedesktop.UPower.Device";
// Short enough that a hung UPower cannot hold the main thread when monitoring starts.
constexpr std::uint64_t kCallTimeoutMicroseconds = 1'500'000;

// UPower's device type and state codes.
constexpr std::int64_t kTypeBattery = 2;

BatteryState stateOf(std::int64_t code) {
  switch (code) {
    case 1:  // charging
    case 5:  // pending charge: on mains, held below full
      return BatteryState::charging;
    case 4:
      return BatteryState::full;
    case 2:  // discharging
    case 3:  // empty
    case 6:  // pending discharge
      return BatteryState::unplugged;
    default:
      return BatteryState::unknown;
  }
}

}  // namespace

UPowerBattery::Reading UPowerBattery::readingOf(const SdBus::Properties& device) {
  if (SdBus::integer(device, "Type") != kTypeBattery || SdBus::flag(device, "IsPresent") != true) {
    return {};
  }
  Reading reading;
  reading.state = stateOf(SdBus::integer(device, "State").value_or(0));
  if (auto percentage = SdBus::number(device, "Percentage")) {
    reading.level = static_cast<float>(*percentage / 100.0);
  }
  return reading;
}

std::unique_ptr<UPowerBattery> UPowerBattery::start(std::function<void()> changed) {
  auto bus = SdBus::openSystem(kCallTimeoutMicroseconds);
  if (!bus) return nullptr;
  std::unique_ptr<UPowerBattery> battery(new UPowerBattery(std::move(*bus), std::move(changed)));
  if (!battery->subscribe()) return nullptr;
  // Subscribed first, so that nothing said after this first reading is missed.
  battery->reading_ = battery->reload();
  battery->stop_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (battery->stop_ < 0) return nullptr;
  battery->watcher_ = std::thread([raw = battery.get()] { raw->watch(); });
  return battery;
}

UPowerBattery::UPowerBattery(SdBus bus, std::function<void()> changed)
    : bus_(std::move(bus)), changed_(std::move(changed)) {}

UPowerBattery::~UPowerBattery() {
  if (watcher_.joinable()) {
    std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(stop_, &one, sizeof one);
    watcher_.join();
  }
  if (stop_ >= 0) ::close(stop_);
}

bool UPowerBattery::subscribe() {
  // Floating slots: they live as long as the connection.
  std::string properties = std::string(
                               "type='signal',interface='org.freedesktop.DBus.Properties',"
                               "member='PropertiesChanged',path='") +
                           kDisplayDevice + "',arg0='" + kDeviceInterface + "'";
  std::string owner = std::string(
                          "type='signal',sender='org.freedesktop.DBus',"
                          "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") +
                      kService + "'";
  return sd_bus_add_match(bus_.get(), nullptr, properties.c_str(), onPropertiesChanged, this) >=
             0 &&
         sd_bus_add_match(bus_.get(), nullptr, owner.c_str(), onOwnerChanged, this) >= 0;
}

std::optional<UPowerBattery::Reading> UPowerBattery::reading() const {
  std::lock_guard lock(mutex_);
  return reading_;
}

// Reads the display device afresh; UPower not answering counts as UPower away.
std::optional<UPowerBattery::Reading> UPowerBattery::reload() {
  device_ = bus_.hasOwner(kService) ? bus_.getAll(kService, kDisplayDevice, kDeviceInterface)
                                    : std::nullopt;
  return device_ ? std::optional(readingOf(*device_)) : std::nullopt;
}

void UPowerBattery::publish(std::optional<Reading> reading) {
  {
    std::lock_guard lock(mutex_);
    if (reading_ == reading) return;
    reading_ = reading;
  }
  changed_();
}

int UPowerBattery::onPropertiesChanged(sd_bus_message* message, void* self, sd_bus_error*) {
  auto* battery = static_cast<UPowerBattery*>(self);
  const char* interface = nullptr;
  SdBus::Properties changed;
  if (sd_bus_message_read_basic(message, 's', &interface) < 0 ||
      !SdBus::readProperties(message, changed)) {
    return 0;
  }
  char** invalidated = nullptr;
  bool anyInvalidated = sd_bus_message_read_strv(message, &invalidated) >= 0 && invalidated &&
                        invalidated[0] != nullptr;
  for (char** name = invalidated; name && *name; ++name) std::free(*name);
  std::free(invalidated);

  if (anyInvalidated || !battery->device_) {
    battery->publish(battery->reload());
  } else {
    for (auto& [key, value] : changed) (*battery->device_)[key] = std::move(value);
    battery->publish(readingOf(*battery->device_));
  }
  return 0;
}

int UPowerBattery::onOwnerChanged(sd_bus_message*, void* self, sd_bus_error*) {
  // Coming or going always changes the reading: the device picks its source by it.
  auto* battery = static_cast<UPowerBattery*>(self);
  battery->publish(battery->reload());
  return 0;
}

void UPowerBattery::watch() {
  for (;;) {
    int processed;
    while ((processed = sd_bus_process(bus_.get(), nullptr)) > 0) {
    }
    // A lost connection counts as UPower gone, so the device falls back to the power supplies.
    if (processed < 0) {
      publish(std::nullopt);
      return;
    }
    std::uint64_t due = 0;
    int timeout = -1;
    if (sd_bus_get_timeout(bus_.get(), &due) > 0 && due != UINT64_MAX) {
      timespec now{};
      ::clock_gettime(CLOCK_MONOTONIC, &now);
      std::uint64_t nowMicroseconds =
          static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + now.tv_nsec / 1000;
      timeout = due > nowMicroseconds ? static_cast<int>((due - nowMicroseconds + 999) / 1000) : 0;
    }
    pollfd fds[2] = {
        {sd_bus_get_fd(bus_.get()), static_cast<short>(sd_bus_get_events(bus_.get())), 0},
        {stop_, POLLIN, 0}};
    if (::poll(fds, 2, timeout) < 0 && errno != EINTR) return;
    if (fds[1].revents != 0) return;
  }
}

}  // namespace quorvel
