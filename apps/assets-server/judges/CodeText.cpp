#include "CodeText.h"

namespace quorvel {

namespace {

// Days from 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's days_from_civil).
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

bool isLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

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
  static constexpr int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 0 || month < 1 || month > 12 || day < 1 || hour < 0 || hour > 23 || minute < 0 ||
      minute > 59 || second < 0 || second > 60 || millis < 0 || offsetHours < 0 ||
      offsetHours > 23 || offsetMinutes < 0 || offsetMinutes > 59) {
    return std::nullopt;
  }
  if (day > kMonthDays[month - 1] + (month == 2 && isLeap(year) ? 1 : 0)) return std::nullopt;
  const std::int64_t days =
      daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
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
