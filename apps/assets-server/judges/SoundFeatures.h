#pragma once

#include <cstddef>
#include <vector>

namespace quorvel {

// Short-time measures of a mono sound for the recording judges: frame levels and power spectra.
class SoundFeatures {
 public:
  // The level of each frame of `length` samples, `hop` apart, in dB of full scale (a full-scale
  // square wave is 0); -120 for digital silence.
  static std::vector<double> levels(const std::vector<float>& samples, std::size_t length,
                                    std::size_t hop);
  // The power spectrum (length / 2 + 1 bins) of each Hann-windowed frame of `length` samples
  // (a power of two), `hop` apart.
  static std::vector<std::vector<float>> spectra(const std::vector<float>& samples,
                                                 std::size_t length, std::size_t hop);
  // The value below which `fraction` of values lie (0 for none).
  static double percentile(std::vector<double> values, double fraction);
};

}  // namespace quorvel
