#include "quorvel/Color.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace quorvel {

std::string Color::hex() const {
  auto byte = [](double component) {
    return static_cast<int>(std::lround(std::clamp(component, 0.0, 1.0) * 255.0));
  };
  char text[10];
  std::snprintf(text, sizeof text, "#%02x%02x%02x%02x", byte(red), byte(green), byte(blue),
                byte(alpha));
  return text;
}

}  // namespace quorvel
