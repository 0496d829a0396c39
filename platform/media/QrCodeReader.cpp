#include "media/QrCodeReader.h"

#define ZX_USE_UTF8 1
#include <ZXing/ReadBarcode.h>

#include <algorithm>

namespace quorvel {

std::vector<std::string> QrCodeReader::read(const std::uint8_t* luminance, int width, int height,
                                            int rowStride) {
  std::vector<std::string> texts;
  if (luminance == nullptr || width <= 0 || height <= 0 || rowStride < width) return texts;
  // QR alone: looking for every format costs several times as much per frame.
  static const ZXing::DecodeHints hints =
      ZXing::DecodeHints().setFormats(ZXing::BarcodeFormat::QRCode);
  const ZXing::ImageView view(luminance, width, height, ZXing::ImageFormat::Lum, rowStride);
  for (const ZXing::Result& result : ZXing::ReadBarcodes(view, hints)) {
    if (!result.isValid()) continue;
    std::string text = result.text();
    if (std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
  }
  return texts;
}

}  // namespace quorvel
