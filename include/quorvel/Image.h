#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// An image: a named asset of the SDK's resources, a file on disk, encoded bytes (PNG, JPEG) such
// as a photo chosen in the image picker, or a grey bitmap made by the SDK (a QR code).
struct QUORVEL_EXPORT Image {
  enum class Kind { asset, file, encoded, bitmap };

  Kind kind = Kind::asset;
  std::string name;                 // asset name or file path
  std::vector<std::uint8_t> bytes;  // encoded image data, or the bitmap's rows (one byte a pixel)
  // A bitmap's size in pixels. Front ends draw bitmaps without smoothing at any size, so every
  // pixel stays a sharp block.
  int width = 0;
  int height = 0;
  // Template images are drawn in their tint colour instead of their own colours.
  bool isTemplate = false;

  static Image asset(std::string name, bool isTemplate = false) {
    return Image{Kind::asset, std::move(name), {}, 0, 0, isTemplate};
  }
  static Image file(std::string path) {
    return Image{Kind::file, std::move(path), {}, 0, 0, false};
  }
  static Image encoded(std::vector<std::uint8_t> data) {
    return Image{Kind::encoded, {}, std::move(data), 0, 0, false};
  }
  // width x height grey levels, row after row, 0 black to 255 white.
  static Image bitmap(int width, int height, std::vector<std::uint8_t> grey) {
    return Image{Kind::bitmap, {}, std::move(grey), width, height, false};
  }

  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace quorvel
