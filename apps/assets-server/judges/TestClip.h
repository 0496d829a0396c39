#pragma once

#include <cstdint>
#include <vector>

namespace quorvel {

// The clip the speaker test plays (resources/sounds/testfile.wav), built into the library so that
// the server needs no resource files to judge a speaker recording.
class TestClip {
 public:
  // The clip's WAVE file, byte for byte.
  static const std::vector<std::uint8_t>& wave();
};

}  // namespace quorvel
