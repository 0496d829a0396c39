#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// Byte counts in decimal (1000-based) units, with the separators of the process's numeric locale.
class ByteCountFormatter {
 public:
  struct Separators {
    std::string decimal = ".";
    std::string grouping = ",";
  };

  // The separators of the current C/C++ numeric locale ("." and "," in the C locale).
  static Separators current();

  explicit ByteCountFormatter(Separators separators = current())
      : separators_(std::move(separators)) {}

  // A whole number of megabytes with grouping: "5,900 MB".
  std::string megabytes(std::int64_t bytes) const;
  // Gigabytes with up to two decimals, trailing zeros dropped: "63.86 GB", "64 GB".
  std::string gigabytes(std::int64_t bytes) const;
  // A decimal number written with these separators (grouping allowed); no value when it is not one.
  std::optional<double> parse(std::string_view text) const;

 private:
  std::string grouped(std::int64_t whole) const;

  Separators separators_;
};

}  // namespace quorvel
