#include "tests/video/QRCodeHelper.h"

#include <cstdint>
#include <qrcodegen.hpp>
#include <vector>

namespace quorvel {

std::optional<Image> QRCodeHelper::generateQRCode(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(text.size());
  for (char c : text) {
    auto byte = static_cast<std::uint8_t>(c);
    if (byte > 0x7F) return std::nullopt;
    bytes.push_back(byte);
  }
  if (bytes.empty()) return std::nullopt;

  std::optional<qrcodegen::QrCode> code;
  try {
    // Without boostEcl = false the encoder raises the level whenever the data still fits.
    code = qrcodegen::QrCode::encodeSegments(
        {qrcodegen::QrSegment::makeBytes(bytes)}, qrcodegen::QrCode::Ecc::MEDIUM,
        qrcodegen::QrCode::MIN_VERSION, qrcodegen::QrCode::MAX_VERSION, -1, false);
  } catch (const qrcodegen::data_too_long&) {
    return std::nullopt;
  }

  const int modules = code->getSize() + 2 * quietZone;
  const int side = modules * moduleSize;
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(side) * side, 0xFF);
  for (int y = 0; y < code->getSize(); ++y) {
    for (int x = 0; x < code->getSize(); ++x) {
      if (!code->getModule(x, y)) continue;
      const int left = (x + quietZone) * moduleSize;
      const int top = (y + quietZone) * moduleSize;
      for (int row = top; row < top + moduleSize; ++row) {
        std::fill_n(pixels.begin() + static_cast<std::ptrdiff_t>(row) * side + left, moduleSize,
                    std::uint8_t{0});
      }
    }
  }
  return Image::bitmap(side, side, std::move(pixels));
}

}  // namespace quorvel
