#pragma once

#include <optional>
#include <string_view>

#include "quorvel/Image.h"

namespace quorvel {

// Turns a text into the QR code the video test screens show full width, for the front camera to
// read back in a mirror.
class QRCodeHelper {
 public:
  // Pixels per module side: each module is a sharp 15 x 15 block.
  static constexpr int moduleSize = 15;
  // Light modules around the code, so that a reader finds its edges.
  static constexpr int quietZone = 4;

  // The text's bytes in byte mode at error-correction level M, as a grey bitmap; nothing for a
  // text with a non-ASCII character or one too long for any QR version.
  static std::optional<Image> generateQRCode(std::string_view text);
};

}  // namespace quorvel
