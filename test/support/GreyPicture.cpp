#include "support/GreyPicture.h"

#include <algorithm>
#include <qrcodegen.hpp>

namespace quorvel::testing {

GreyPicture::GreyPicture(int w, int h, int stride, std::uint8_t background)
    : width(w),
      height(h),
      rowStride(stride > 0 ? stride : w),
      pixels(static_cast<std::size_t>(rowStride) * static_cast<std::size_t>(h), background) {}

int GreyPicture::drawCode(const std::string& text, int x, int y, int moduleSize) {
  using qrcodegen::QrCode;
  using qrcodegen::QrSegment;
  // Byte mode at level M exactly; encodeText would raise the level or change the mode.
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  const QrCode code = QrCode::encodeSegments({QrSegment::makeBytes(bytes)}, QrCode::Ecc::MEDIUM,
                                             QrCode::MIN_VERSION, QrCode::MAX_VERSION, -1, false);
  constexpr int kQuiet = 4;
  const int modules = code.getSize() + 2 * kQuiet;
  for (int my = 0; my < modules; ++my) {
    for (int mx = 0; mx < modules; ++mx) {
      const bool dark = code.getModule(mx - kQuiet, my - kQuiet);  // false outside the symbol
      for (int py = 0; py < moduleSize; ++py) {
        const int row = y + my * moduleSize + py;
        if (row < 0 || row >= height) continue;
        for (int px = 0; px < moduleSize; ++px) {
          const int column = x + mx * moduleSize + px;
          if (column < 0 || column >= width) continue;
          pixels[static_cast<std::size_t>(row * rowStride + column)] = dark ? 0 : 255;
        }
      }
    }
  }
  return modules * moduleSize;
}

void GreyPicture::mirror() {
  for (int row = 0; row < height; ++row) {
    auto begin = pixels.begin() + static_cast<std::ptrdiff_t>(row) * rowStride;
    std::reverse(begin, begin + width);
  }
}

}  // namespace quorvel::testing
