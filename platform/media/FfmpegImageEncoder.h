#pragma once

#include "quorvel/platform/ImageEncoder.h"

namespace quorvel {

// Decodes any still image FFmpeg reads (PNG, JPEG, WebP, BMP …) from bytes or a file and encodes
// it as baseline JPEG. The quality follows libjpeg's scale: 0.8 gives the quantisation tables of
// libjpeg's quality 80. Named assets are not images this encoder can read.
class FfmpegImageEncoder : public ImageEncoder {
 public:
  std::optional<std::vector<std::uint8_t>> jpegData(const Image& image,
                                                    double compressionQuality) const override;
};

}  // namespace quorvel
