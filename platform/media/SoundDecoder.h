#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// Decodes a sound FFmpeg reads (WAV, MP3, AAC ...) into mono 16-bit samples at a chosen rate:
// channels are mixed down and the rate converted.
class SoundDecoder {
 public:
  // Nothing when the bytes or the file hold no sound.
  static std::optional<std::vector<std::int16_t>> decode(const std::vector<std::uint8_t>& bytes,
                                                         int sampleRate);
  static std::optional<std::vector<std::int16_t>> decodeFile(const std::string& path,
                                                             int sampleRate);
};

}  // namespace quorvel
