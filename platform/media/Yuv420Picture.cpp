#include "media/Yuv420Picture.h"

#include <algorithm>

#include "media/AreaScale.h"

namespace quorvel {

namespace {

std::uint8_t clampByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

// BT.601, limited range, in 8.8 fixed point; r, g, b are 0...255.
std::uint8_t luma(int r, int g, int b) {
  return clampByte(((66 * r + 129 * g + 25 * b + 128) >> 8) + 16);
}
std::uint8_t blueDifference(int r, int g, int b) {
  return clampByte(((-38 * r - 74 * g + 112 * b + 128) >> 8) + 128);
}
std::uint8_t redDifference(int r, int g, int b) {
  return clampByte(((112 * r - 94 * g - 18 * b + 128) >> 8) + 128);
}

}  // namespace

Yuv420Picture::Yuv420Picture(int width, int height)
    : width_(width & ~1),
      height_(height & ~1),
      planes_{std::vector<std::uint8_t>(static_cast<std::size_t>(width_) * height_),
              std::vector<std::uint8_t>(static_cast<std::size_t>(width_ / 2) * (height_ / 2)),
              std::vector<std::uint8_t>(static_cast<std::size_t>(width_ / 2) * (height_ / 2))} {}

void Yuv420Picture::fill(const std::uint8_t* bgra, int width, int height, int rowStride) {
  if (width == width_ && height == height_) return convert(bgra, rowStride, 4);
  // Another size is scaled to this one's first, then converted.
  rgb_.resize(static_cast<std::size_t>(width_) * height_ * 3);
  scaleToRgb(bgra, width, height, rowStride, 4, true, width_, height_, rgb_.data());
  convert(rgb_.data(), width_ * 3, 3, true);
}

void Yuv420Picture::convert(const std::uint8_t* pixels, int rowStride, int pixelBytes, bool rgb) {
  // R, G, B of pixel x in a row: B, G, R, A pixels in memory order, or R, G, B ones.
  const int r = rgb ? 0 : 2, b = rgb ? 2 : 0;
  for (int y = 0; y < height_; ++y) {
    const std::uint8_t* row = pixels + static_cast<std::ptrdiff_t>(y) * rowStride;
    std::uint8_t* out = &planes_[0][static_cast<std::size_t>(y) * width_];
    for (int x = 0; x < width_; ++x) {
      const std::uint8_t* p = row + x * pixelBytes;
      out[x] = luma(p[r], p[1], p[b]);
    }
  }
  // Colour at half resolution: the mean of each 2 x 2 block.
  const int half = width_ / 2;
  for (int y = 0; y < height_ / 2; ++y) {
    const std::uint8_t* top = pixels + static_cast<std::ptrdiff_t>(y * 2) * rowStride;
    const std::uint8_t* bottom = top + rowStride;
    for (int x = 0; x < half; ++x) {
      int sum[3] = {0, 0, 0};
      for (const std::uint8_t* line : {top, bottom}) {
        for (int dx = 0; dx < 2; ++dx) {
          const std::uint8_t* p = line + (x * 2 + dx) * pixelBytes;
          sum[0] += p[r];
          sum[1] += p[1];
          sum[2] += p[b];
        }
      }
      const int red = (sum[0] + 2) / 4, green = (sum[1] + 2) / 4, blue = (sum[2] + 2) / 4;
      planes_[1][static_cast<std::size_t>(y) * half + x] = blueDifference(red, green, blue);
      planes_[2][static_cast<std::size_t>(y) * half + x] = redDifference(red, green, blue);
    }
  }
}

}  // namespace quorvel
