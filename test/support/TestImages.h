#pragma once

#include <cstdint>
#include <vector>

namespace quorvel::testing {

// A PNG of a colour gradient, encoded with FFmpeg: a real photo-like input for the image encoder.
std::vector<std::uint8_t> makePng(int width, int height);

// The size of the first image FFmpeg decodes from bytes; {0, 0} when nothing decodes.
struct ImageSize {
  int width = 0;
  int height = 0;
};
ImageSize decodedSize(const std::vector<std::uint8_t>& bytes);

}  // namespace quorvel::testing
