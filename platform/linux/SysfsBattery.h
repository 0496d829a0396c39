#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "quorvel/platform/Device.h"

namespace quorvel {

// The system battery as the kernel's power-supply class reports it. Every call reads afresh.
class SysfsBattery {
 public:
  explicit SysfsBattery(std::string sysRoot = "/sys");

  // unknown when there is no system battery or its status is not one of the known ones.
  BatteryState state() const;
  // 0.0 to 1.0; -1.0 when there is no system battery or it reports no charge.
  float level() const;

 private:
  std::optional<std::filesystem::path> systemBattery() const;
  bool externalPowerOnline() const;

  std::filesystem::path supplies_;
};

}  // namespace quorvel
