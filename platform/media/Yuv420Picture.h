#pragma once

#include <cstdint>
#include <vector>

namespace quorvel {

// A picture in planar 4:2:0 (I420) at a fixed, even size, filled from 32-bit B, G, R, A pixels of
// any size: scaled with area averaging (a QR code's edges stay sharp, nothing aliases) and
// converted with the BT.601 limited-range matrix that H.264 players assume by default.
class Yuv420Picture {
 public:
  Yuv420Picture(int width, int height);

  void fill(const std::uint8_t* bgra, int width, int height, int rowStride);

  int width() const { return width_; }
  int height() const { return height_; }
  std::uint8_t* plane(int index) { return planes_[index].data(); }
  int stride(int index) const { return index == 0 ? width_ : width_ / 2; }

 private:
  // Fills the planes from pixels at the picture's own size: 4-byte B, G, R, A or 3-byte R, G, B.
  void convert(const std::uint8_t* pixels, int rowStride, int pixelBytes, bool rgb = false);

  const int width_;
  const int height_;
  std::vector<std::uint8_t> planes_[3];
  // A picture of another size, scaled to R, G, B at this one's before the matrix; kept between
  // frames.
  std::vector<std::uint8_t> rgb_;
};

}  // namespace quorvel
