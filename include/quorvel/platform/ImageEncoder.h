#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/Image.h"

namespace quorvel {

// Turns an image into JPEG bytes. compressionQuality runs from 0 (smallest) to 1 (best).
class QUORVEL_EXPORT ImageEncoder {
 public:
  virtual ~ImageEncoder() = default;
  // No value when the image cannot be read or encoded.
  virtual std::optional<std::vector<std::uint8_t>> jpegData(const Image& image,
                                                            double compressionQuality) const = 0;
};

}  // namespace quorvel
