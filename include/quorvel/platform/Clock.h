#pragma once

#include <chrono>

namespace quorvel {

// Wall-clock time and the local offset from UTC, for timestamps.
class Clock {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  virtual ~Clock() = default;
  virtual TimePoint now() const = 0;
  // Seconds east of UTC in the local time zone at the given moment.
  virtual int utcOffsetSeconds(TimePoint at) const = 0;
};

}  // namespace quorvel
