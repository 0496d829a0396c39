#include "device/ByteCountFormatter.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>

namespace quorvel {

ByteCountFormatter::Separators ByteCountFormatter::current() {
  Separators separators;
  const std::lconv* conventions = std::localeconv();
  if (conventions && conventions->decimal_point && *conventions->decimal_point) {
    separators.decimal = conventions->decimal_point;
  }
  if (conventions && conventions->thousands_sep && *conventions->thousands_sep) {
    separators.grouping = conventions->thousands_sep;
  } else {
    // The C locale has no grouping character; pick the one that cannot be the decimal mark.
    // One character assigned, not a literal: GCC 12 warns (wrongly) of overlap on the latter.
    separators.grouping = std::string(1, separators.decimal == "," ? '.' : ',');
  }
  return separators;
}

std::string ByteCountFormatter::grouped(std::int64_t whole) const {
  bool negative = whole < 0;
  std::string digits = std::to_string(negative ? -whole : whole);
  std::string out;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += separators_.grouping;
    out += digits[i];
  }
  return negative ? "-" + out : out;
}

std::string ByteCountFormatter::megabytes(std::int64_t bytes) const {
  return grouped(std::llround(static_cast<double>(bytes) / 1e6)) + " MB";
}

std::string ByteCountFormatter::gigabytes(std::int64_t bytes) const {
  // Work in hundredths of a gigabyte so that rounding happens once.
  std::int64_t hundredths = std::llround(static_cast<double>(bytes) / 1e7);
  bool negative = hundredths < 0;
  std::int64_t magnitude = negative ? -hundredths : hundredths;
  std::string text = grouped(magnitude / 100);
  int fraction = static_cast<int>(magnitude % 100);
  if (fraction != 0) {
    text += separators_.decimal;
    text += static_cast<char>('0' + fraction / 10);
    if (fraction % 10 != 0) text += static_cast<char>('0' + fraction % 10);
  }
  return (negative ? "-" : "") + text + " GB";
}

std::optional<double> ByteCountFormatter::parse(std::string_view text) const {
  std::string normalized;
  bool sawDecimal = false;
  for (std::size_t i = 0; i < text.size();) {
    if (!sawDecimal && text.substr(i, separators_.decimal.size()) == separators_.decimal) {
      normalized += '.';
      sawDecimal = true;
      i += separators_.decimal.size();
    } else if (!sawDecimal && !normalized.empty() &&
               text.substr(i, separators_.grouping.size()) == separators_.grouping) {
      i += separators_.grouping.size();
    } else if ((text[i] >= '0' && text[i] <= '9') || (text[i] == '-' && normalized.empty())) {
      normalized += text[i++];
    } else {
      return std::nullopt;
    }
  }
  if (normalized.empty() || normalized == "-" || normalized.back() == '.') return std::nullopt;
  double value = 0;
  auto result = std::from_chars(normalized.data(), normalized.data() + normalized.size(), value);
  if (result.ec != std::errc() || result.ptr != normalized.data() + normalized.size()) {
    return std::nullopt;
  }
  return value;
}

}  // namespace quorvel
