#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// An sRGB colour with components in 0...1.
struct QUORVEL_EXPORT Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  // From 0...255 components, the way designers write them.
  static constexpr Color rgb(int r, int g, int b, double a = 1.0) {
    return Color{r / 255.0, g / 255.0, b / 255.0, a};
  }
  static constexpr Color white() { return Color{1, 1, 1, 1}; }
  static constexpr Color black() { return Color{0, 0, 0, 1}; }
  static constexpr Color clear() { return Color{0, 0, 0, 0}; }

  constexpr Color withAlpha(double a) const { return Color{red, green, blue, a}; }

  // "#rrggbbaa", for snapshots and front ends.
  std::string hex() const;
  // The colour of "#rrggbb" or "#rrggbbaa" (either case); no value for anything else.
  static std::optional<Color> fromHex(std::string_view text);

  friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace quorvel
