#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// Reads QR codes, and nothing else, in a grey picture: straight or mirrored, as a camera filming
// a mirror sees them. Safe to call from any thread.
class QUORVEL_EXPORT QrCodeReader {
 public:
  // The texts of the codes found in width x height luminance bytes whose rows start rowStride
  // bytes apart; empty when there is none.
  static std::vector<std::string> read(const std::uint8_t* luminance, int width, int height,
                                       int rowStride);
};

}  // namespace quorvel
