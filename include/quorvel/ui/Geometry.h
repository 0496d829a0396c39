#pragma once

namespace quorvel {

// A position in an element's own coordinates, in points; y grows downwards.
struct Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

// An element's size as the front end laid it out, in points.
struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

}  // namespace quorvel
