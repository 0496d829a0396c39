#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/platform/Device.h"

namespace quorvel {

// The cellular subscriptions ModemManager knows: one carrier per active SIM, keyed by the SIM's
// object path, modems in index order and their slots in order.
class ModemManagerCarriers {
 public:
  // No value when ModemManager is not on the system bus or does not answer in time.
  static std::optional<std::vector<std::pair<std::string, Carrier>>> read();
};

}  // namespace quorvel
