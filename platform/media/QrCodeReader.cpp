#include "media/QrCodeReader.h"

#define ZX_USE_UTF8 1
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace quorvel {

namespace {

void readInto(const ZXing::ImageView& view, std::vector<std::string>& texts) {
  // QR alone: looking for every format costs several times as much per frame.
  static const ZXing::DecodeHints hints =
      ZXing::DecodeHints().setFormats(ZXing::BarcodeFormat::QRCode);
  for (const ZXing::Result& result : ZXing::ReadBarcodes(view, hints)) {
    if (!result.isValid()) continue;
    std::string text = result.text();
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
  }
}

}  // namespace

std::vector<std::string> QrCodeReader::read(const std::uint8_t* luminance, int width, int height,
                                            int rowStride) {
  std::vector<std::string> texts;
  if (luminance == nullptr || width <= 0 || height <= 0 || rowStride < width) return texts;
  readInto(ZXing::ImageView(luminance, width, height, ZXing::ImageFormat::Lum, rowStride), texts);
  if (!texts.empty()) return texts;
  // A code seen in a mirror is its mirror image. zxing reads many of those but not all (it
  // missed a video test's end code for good), so a frame without a code is read once more
  // turned back.
  // Kept per thread: frames without a code come fifteen times a second.
  thread_local std::vector<std::uint8_t> turned;
  turned.resize(static_cast<std::size_t>(width) * height);
  for (int row = 0; row < height; ++row) {
    const std::uint8_t* from = luminance + static_cast<std::ptrdiff_t>(row) * rowStride;
    std::reverse_copy(from, from + width,
                      turned.begin() + static_cast<std::ptrdiff_t>(row) * width);
  }
  readInto(ZXing::ImageView(turned.data(), width, height, ZXing::ImageFormat::Lum), texts);
  return texts;
}

}  // namespace quorvel
