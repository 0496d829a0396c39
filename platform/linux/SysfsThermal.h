#pragma once

#include <string>

namespace quorvel {

// Thermal state from the kernel's thermal zones: each zone's temperature against its own trip
// points, the worst zone winning.
class SysfsThermal {
 public:
  explicit SysfsThermal(std::string sysRoot = "/sys");

  // quorvel::ThermalState raw value; unknown when no zone reports a temperature.
  int state() const;

 private:
  std::string sysRoot_;
};

}  // namespace quorvel
