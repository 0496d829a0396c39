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
  const int side = (code.getSize() + 2 * kQuiet) * moduleSize;
  for (int row = std::max(y, 0); row < std::min(y + side, height); ++row) {
    for (int column = std::max(x, 0); column < std::min(x + side, width); ++column) {
      // getModule is false outside the symbol, so the quiet zone is light.
      const bool dark =
          code.getModule((column - x) / moduleSize - kQuiet, (row - y) / moduleSize - kQuiet);
      pixels[static_cast<std::size_t>(row * rowStride + column)] = dark ? 0 : 255;
    }
  }
  return side;
}

void GreyPicture::mirror() {
  for (int row = 0; row < height; ++row) {
    auto begin = pixels.begin() + static_cast<std::ptrdiff_t>(row) * rowStride;
    std::reverse(begin, begin + width);
  }
}

}  // namespace quorvel::testing
