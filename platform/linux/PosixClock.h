#pragma once

#include "quorvel/platform/Clock.h"

namespace quorvel {

// The system clock and the local time zone of the C library (TZ, /etc/localtime).
class PosixClock : public Clock {
 public:
  PosixClock();
  TimePoint now() const override;
  int utcOffsetSeconds(TimePoint at) const override;
};

}  // namespace quorvel
