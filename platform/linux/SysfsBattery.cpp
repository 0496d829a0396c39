#include "linux/SysfsBattery.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace quorvel {

namespace {

namespace fs = std::filesystem;

std::string readTrimmed(const fs::path& path) {
  std::ifstream in(path);
  if (!in) return {};
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  constexpr std::string_view blanks = " \t\r\n";
  auto first = text.find_first_not_of(blanks);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::optional<long long> readNumber(const fs::path& path) {
  std::string text = readTrimmed(path);
  long long value = 0;
  auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || text.empty() || next != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

std::optional<float> ratio(const fs::path& supply, const char* now, const char* full) {
  auto current = readNumber(supply / now);
  auto capacity = readNumber(supply / full);
  if (!current || !capacity || *capacity <= 0 || *current < 0) return std::nullopt;
  return std::min(1.0f, static_cast<float>(*current) / static_cast<float>(*capacity));
}

// Directory order is arbitrary; sorting makes "the first battery" the same on every call.
std::vector<fs::path> supplyDirectories(const fs::path& root) {
  std::vector<fs::path> supplies;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(root, error)) supplies.push_back(entry.path());
  std::sort(supplies.begin(), supplies.end());
  return supplies;
}

}  // namespace

SysfsBattery::SysfsBattery(std::string sysRoot)
    : supplies_(fs::path(std::move(sysRoot)) / "class/power_supply") {}

std::optional<fs::path> SysfsBattery::systemBattery() const {
  for (const auto& supply : supplyDirectories(supplies_)) {
    if (readTrimmed(supply / "type") != "Battery") continue;
    // Mice, keyboards and headsets report their own batteries with scope "Device".
    if (readTrimmed(supply / "scope") == "Device") continue;
    return supply;
  }
  return std::nullopt;
}

bool SysfsBattery::externalPowerOnline() const {
  for (const auto& supply : supplyDirectories(supplies_)) {
    std::string type = readTrimmed(supply / "type");
    // Older kernels report USB chargers as "USB_C", "USB_PD" and the like.
    bool external = type == "Mains" || type.starts_with("USB") || type == "Wireless";
    if (external && readTrimmed(supply / "online") == "1") return true;
  }
  return false;
}

BatteryState SysfsBattery::state() const {
  auto battery = systemBattery();
  if (!battery) return BatteryState::unknown;
  std::string status = readTrimmed(*battery / "status");
  if (status == "Charging") return BatteryState::charging;
  if (status == "Full") return BatteryState::full;
  if (status == "Discharging") return BatteryState::unplugged;
  // A charge limit or a warm battery pauses charging while the charger stays connected.
  if (status == "Not charging") {
    return externalPowerOnline() ? BatteryState::charging : BatteryState::unplugged;
  }
  return BatteryState::unknown;
}

float SysfsBattery::level() const {
  auto battery = systemBattery();
  if (!battery) return -1.0f;
  if (auto percent = readNumber(*battery / "capacity"); percent && *percent >= 0) {
    return static_cast<float>(std::min<long long>(*percent, 100)) / 100.0f;
  }
  // Some fuel gauges only report the raw charge counters.
  if (auto energy = ratio(*battery, "energy_now", "energy_full")) return *energy;
  if (auto charge = ratio(*battery, "charge_now", "charge_full")) return *charge;
  return -1.0f;
}

}  // namespace quorvel
