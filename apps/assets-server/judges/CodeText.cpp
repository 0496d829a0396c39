#include "CodeText.h"

#include <chrono>

namespace quorvel {

namespace {

// The digits at [at, at + count) as a number; -1 when one is not a digit.
int digits(std::string_view text, std::size_t at, std::size_t count) {
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

}  // namespace

std::optional<std::int64_t> CodeText::parseTimestamp(std::string_view text) {
  // yyyy-MM-ddTHH:mm:ss.SSS+hhmm
  if (text.size() != 28 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
      text[16] != ':' || text[19] != '.' || (text[23] != '+' && text[23] != '-')) {
    return std::nullopt;
  }
  const int year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
  const int hour = digits(text, 11, 2), minute = digits(text, 14, 2), second = digits(text, 17, 2);
  const int millis = digits(text, 20, 3);
  const int offsetHours = digits(text, 24, 2), offsetMinutes = digits(text, 26, 2);
  if (year < 0 || month < 0 || day < 0 || hour < 0 || hour > 23 || minute < 0 || minute > 59 ||
      second < 0 || second > 60 || millis < 0 || offsetHours < 0 || offsetHours > 23 ||
      offsetMinutes < 0 || offsetMinutes > 59) {
    return std::nullopt;
  }
  // ok() refuses month 0 or 13, day 0, and days past the month's end, leap years counted.
  const std::chrono::year_month_day date{std::chrono::year{year},
                                         std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok()) return std::nullopt;
  const std::int64_t days = std::chrono::sys_days{date}.time_since_epoch().count();
  const std::int64_t local = ((days * 24 + hour) * 60 + minute) * 60 + second;
  const int offset = (offsetHours * 60 + offsetMinutes) * 60 * (text[23] == '-' ? -1 : 1);
  return (local - offset) * 1000 + millis;
}

std::optional<CodeText> CodeText::parse(std::string_view text) {
  const std::size_t first = text.find(';');
  const std::size_t last = text.rfind(';');
  if (first == std::string_view::npos || last == first) return std::nullopt;
  CodeText code;
  code.kind = std::string(text.substr(0, first));
  code.identifier = std::string(text.substr(first + 1, last - first - 1));
  auto millis = parseTimestamp(text.substr(last + 1));
  if ((code.kind != "start" && code.kind != "end") || code.identifier.empty() || !millis) {
    return std::nullopt;
  }
  code.millis = *millis;
  return code;
}

}  // namespace quorvel
