#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// For the tests: decodes the sounds the SDK plays and records into mono 16-bit samples at a chosen
// rate: WAV (integer PCM of 8 to 32 bits, or 32-bit float) and AAC in QuickTime or MPEG-4 files
// (.m4a, .mov, .mp4; through FAAD2, the encoder's priming skipped as the file's edit list says).
// Channels are mixed down and the rate converted.
class SoundDecoder {
 public:
  // Nothing when the bytes or the file hold no sound.
  static std::optional<std::vector<std::int16_t>> decode(const std::vector<std::uint8_t>& bytes,
                                                         int sampleRate);
  static std::optional<std::vector<std::int16_t>> decodeFile(const std::string& path,
                                                             int sampleRate);
};

}  // namespace quorvel
