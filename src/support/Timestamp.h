#pragma once

#include <string>

#include "quorvel/platform/Clock.h"

namespace quorvel {

// "yyyy-MM-dd'T'HH:mm:ss.SSSZ" in local time, e.g. 2024-03-01T10:15:30.123+0000.
std::string formatTimestamp(Clock::TimePoint at, int utcOffsetSeconds);

// The current moment, read from the platform's clock.
std::string currentTimestamp();

}  // namespace quorvel
