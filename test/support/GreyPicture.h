#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvel::testing {

// A grey picture (one byte a pixel, rows rowStride apart) to draw QR codes on, as a camera would
// see the SDK's screen.
struct GreyPicture {
  GreyPicture(int width, int height, int rowStride = 0, std::uint8_t background = 255);

  // Draws the byte-mode, level M code of text with its top-left quiet-zone corner at (x, y):
  // modules of moduleSize pixels and a quiet zone of four modules. Returns the drawn side.
  int drawCode(const std::string& text, int x, int y, int moduleSize = 15);
  // Turns the picture left for right, as a mirror shows it.
  void mirror();

  int width;
  int height;
  int rowStride;
  std::vector<std::uint8_t> pixels;
};

}  // namespace quorvel::testing
