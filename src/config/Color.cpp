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

std::optional<Color> Color::fromHex(std::string_view text) {
  if ((text.size() != 7 && text.size() != 9) || text[0] != '#') return std::nullopt;
  int bytes[4] = {0, 0, 0, 255};
  for (std::size_t i = 1; i < text.size(); ++i) {
    const char c = text[i];
    int digit = 0;
    if (c >= '0' && c <= '9') {
      digit = c - '0';
    } else if (c >= 'a' && c <= 'f') {
      digit = c - 'a' + 10;
    } else if (c >= 'A' && c <= 'F') {
      digit = c - 'A' + 10;
    } else {
      return std::nullopt;
    }
    int& byte = bytes[(i - 1) / 2];
    byte = (i % 2 == 1) ? digit * 16 : byte + digit;
  }
  return rgb(bytes[0], bytes[1], bytes[2], bytes[3] / 255.0);
}

}  // namespace quorvel
