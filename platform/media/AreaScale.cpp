#include "media/AreaScale.h"

#include <algorithm>
#include <cstddef>

namespace quorvel {

void scaleToRgb(const std::uint8_t* pixels, int width, int height, int rowStride, int pixelBytes,
                bool bgr, int outWidth, int outHeight, std::uint8_t* rgb) {
  const auto span = [](int at, int from, int to) {
    const int first = static_cast<int>(static_cast<std::int64_t>(at) * from / to);
    const int last = static_cast<int>(static_cast<std::int64_t>(at + 1) * from / to);
    return std::pair{first, std::max(last, first + 1)};
  };
  const int red = bgr ? 2 : 0, blue = bgr ? 0 : 2;
  for (int y = 0; y < outHeight; ++y) {
    const auto [top, bottom] = span(y, height, outHeight);
    std::uint8_t* out = rgb + static_cast<std::ptrdiff_t>(y) * outWidth * 3;
    for (int x = 0; x < outWidth; ++x) {
      const auto [left, right] = span(x, width, outWidth);
      unsigned sum[3] = {0, 0, 0};
      for (int sy = top; sy < bottom; ++sy) {
        const std::uint8_t* p =
            pixels + static_cast<std::ptrdiff_t>(sy) * rowStride + left * pixelBytes;
        for (int sx = left; sx < right; ++sx, p += pixelBytes) {
          sum[0] += p[red];
          sum[1] += p[1];
          sum[2] += p[blue];
        }
      }
      const auto count = static_cast<unsigned>((bottom - top) * (right - left));
      for (int c = 0; c < 3; ++c)
        out[x * 3 + c] = static_cast<std::uint8_t>((sum[c] + count / 2) / count);
    }
  }
}

}  // namespace quorvel
