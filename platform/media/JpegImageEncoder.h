#pragma once

#include "quorvel/platform/ImageEncoder.h"

namespace quorvel {

// Encodes an image as a baseline JPEG with libjpeg: PNG (libpng) and JPEG bytes or files, and the
// SDK's own grey bitmaps. The quality follows libjpeg's scale: 0.8 gives its quality 80 tables.
// Named assets are not images this encoder can read.
class JpegImageEncoder : public ImageEncoder {
 public:
  std::optional<std::vector<std::uint8_t>> jpegData(const Image& image,
                                                    double compressionQuality) const override;
};

}  // namespace quorvel
