#include "support/Timestamp.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "quorvel/platform/Platform.h"

namespace quorvel {

std::string formatTimestamp(Clock::TimePoint at, int utcOffsetSeconds) {
  using namespace std::chrono;
  auto local = time_point_cast<milliseconds>(at) + seconds(utcOffsetSeconds);
  auto day = floor<days>(local);
  year_month_day date{day};
  hh_mm_ss<milliseconds> time{local - day};
  int offsetMinutes = std::abs(utcOffsetSeconds) / 60;
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02ld:%02ld:%02lld.%03lld%c%02d%02d",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<long>(time.hours().count()),
                static_cast<long>(time.minutes().count()),
                static_cast<long long>(time.seconds().count()),
                static_cast<long long>(time.subseconds().count()), utcOffsetSeconds < 0 ? '-' : '+',
                offsetMinutes / 60, offsetMinutes % 60);
  return text;
}

std::string currentTimestamp() {
  const auto& clock = *platform().clock;
  auto now = clock.now();
  return formatTimestamp(now, clock.utcOffsetSeconds(now));
}

}  // namespace quorvel
