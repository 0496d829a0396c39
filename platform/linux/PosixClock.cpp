#include "linux/PosixClock.h"

#include <time.h>

namespace quorvel {

// localtime_r need not load the zone rules itself; tzset makes sure it sees the current TZ.
PosixClock::PosixClock() { ::tzset(); }

Clock::TimePoint PosixClock::now() const { return std::chrono::system_clock::now(); }

int PosixClock::utcOffsetSeconds(TimePoint at) const {
  std::time_t seconds = std::chrono::system_clock::to_time_t(at);
  struct tm local {};
  if (::localtime_r(&seconds, &local) == nullptr) return 0;
  return static_cast<int>(local.tm_gmtoff);
}

}  // namespace quorvel
