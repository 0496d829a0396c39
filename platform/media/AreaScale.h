#pragma once

#include <cstdint>

namespace quorvel {

// Scales pixels of pixelBytes bytes (R, G, B first, or B, G, R first when bgr) to R, G, B rows of
// outWidth x outHeight: each pixel out is the mean of the pixels its area covers (at least one),
// so edges stay sharp and nothing aliases.
void scaleToRgb(const std::uint8_t* pixels, int width, int height, int rowStride, int pixelBytes,
                bool bgr, int outWidth, int outHeight, std::uint8_t* rgb);

}  // namespace quorvel
