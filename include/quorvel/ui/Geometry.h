#pragma once

#include "quorvel/Export.h"

namespace quorvel {

// A position in an element's own coordinates, in points; y grows downwards.
struct QUORVEL_EXPORT Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

// An element's size as the front end laid it out, in points.
struct QUORVEL_EXPORT Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

}  // namespace quorvel
