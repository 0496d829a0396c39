#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quorvel {

// An image: a named asset of the SDK's resources, a file on disk, or encoded bytes (PNG, JPEG)
// such as a photo chosen in the image picker.
struct Image {
  enum class Kind { asset, file, encoded };

  Kind kind = Kind::asset;
  std::string name;                 // asset name or file path
  std::vector<std::uint8_t> bytes;  // encoded image data
  // Template images are drawn in their tint colour instead of their own colours.
  bool isTemplate = false;

  static Image asset(std::string name, bool isTemplate = false) {
    return Image{Kind::asset, std::move(name), {}, isTemplate};
  }
  static Image file(std::string path) { return Image{Kind::file, std::move(path), {}, false}; }
  static Image encoded(std::vector<std::uint8_t> data) {
    return Image{Kind::encoded, {}, std::move(data), false};
  }

  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace quorvel
