#pragma once

#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// The system log. Every line the SDK writes starts "Zephyn Log: ".
class QUORVEL_EXPORT Log {
 public:
  virtual ~Log() = default;
  virtual void write(std::string_view line) = 0;
};

}  // namespace quorvel
