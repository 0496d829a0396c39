#pragma once

#include <chrono>

#include "quorvel/Export.h"

namespace quorvel {

// Wall-clock time and the local offset from UTC, for timestamps.
class QUORVEL_EXPORT Clock {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  virtual ~Clock() = default;
  virtual TimePoint now() const = 0;
  // Seconds east of UTC in the local time zone at the given moment.
  virtual int utcOffsetSeconds(TimePoint at) const = 0;
};

}  // namespace quorvel
