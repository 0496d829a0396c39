#pragma once

#include <string>

namespace quorvel {

// Plays a recorded movie full screen, over the SDK's screens, until the person closes it.
class VideoPlayback {
 public:
  virtual ~VideoPlayback() = default;
  virtual void play(const std::string& moviePath) = 0;
};

}  // namespace quorvel
