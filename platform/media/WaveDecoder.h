#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// Reads RIFF WAVE sounds (integer PCM of 8 to 32 bits, or 32-bit float) into mono 16-bit samples
// at a chosen rate: channels are mixed down and the rate converted.
class QUORVEL_EXPORT WaveDecoder {
 public:
  // Nothing when the bytes or the file hold no WAVE sound this reads (a file that is not one is
  // not read past its first bytes).
  static std::optional<std::vector<std::int16_t>> decode(const std::vector<std::uint8_t>& bytes,
                                                         int sampleRate);
  static std::optional<std::vector<std::int16_t>> decodeFile(const std::string& path,
                                                             int sampleRate);
  // Mono samples at rate `from`, converted to rate `to`.
  static std::vector<std::int16_t> resampled(const std::vector<std::int16_t>& mono, int from,
                                             int to);
};

}  // namespace quorvel
