#include "linux/SysfsThermal.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "quorvel/platform/Device.h"

namespace quorvel {

namespace {

namespace fs = std::filesystem;

// Millidegrees Celsius, as every thermal attribute reports them.
std::optional<long> readMillidegrees(const fs::path& path) {
  std::ifstream in(path);
  if (!in) return std::nullopt;
  std::string text;
  std::getline(in, text);
  const char* begin = text.data();
  const char* end = text.data() + text.size();
  while (begin != end && *begin == ' ') ++begin;
  long value = 0;
  auto [next, error] = std::from_chars(begin, end, value);
  if (error != std::errc() || next == begin) return std::nullopt;
  return value;
}

std::string readWord(const fs::path& path) {
  std::ifstream in(path);
  std::string word;
  in >> word;
  return word;
}

int severityOfTrip(std::string_view type) {
  if (type == "critical") return ThermalState::critical;
  if (type == "hot") return ThermalState::serious;
  if (type == "passive") return ThermalState::fair;
  // "active" trips only start fans; they say nothing about throttling.
  return ThermalState::nominal;
}

// Trip indices are usually dense but nothing guarantees it, so read every trip_point_N_type.
int zoneState(const fs::path& zone, long temperature) {
  int state = ThermalState::nominal;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(zone, error)) {
    std::string name = entry.path().filename().string();
    constexpr std::string_view prefix = "trip_point_";
    constexpr std::string_view suffix = "_type";
    if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) ||
        !name.ends_with(suffix)) {
      continue;
    }
    int severity = severityOfTrip(readWord(entry.path()));
    if (severity <= state) continue;
    std::string base = name.substr(0, name.size() - suffix.size());
    std::optional<long> limit = readMillidegrees(zone / (base + "_temp"));
    // Drivers leave unused trips at 0 or below; no real limit sits at freezing.
    if (!limit || *limit <= 0) continue;
    if (temperature >= *limit) state = severity;
  }
  return state;
}

}  // namespace

SysfsThermal::SysfsThermal(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

int SysfsThermal::state() const {
  int worst = ThermalState::unknown;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(fs::path(sysRoot_) / "class/thermal", error)) {
    if (!entry.path().filename().string().starts_with("thermal_zone")) continue;
    // Zones whose sensor is asleep or broken fail the read; they must not hide the others.
    std::optional<long> temperature = readMillidegrees(entry.path() / "temp");
    if (!temperature) continue;
    worst = std::max(worst, zoneState(entry.path(), *temperature));
  }
  return worst;
}

}  // namespace quorvel
