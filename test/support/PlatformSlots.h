#pragma once

#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"

namespace quorvel::testing {

// The names of the slots of p that hold nothing, in the order of the one list of ports.
inline std::vector<std::string> emptySlots(const Platform& p) {
  std::vector<std::string> empty;
#define QUORVEL_EMPTY_SLOT(Type, name) \
  if (!p.name) empty.push_back(#name);
  QUORVEL_PORTS(QUORVEL_EMPTY_SLOT)
#undef QUORVEL_EMPTY_SLOT
  return empty;
}

}  // namespace quorvel::testing
