#pragma once

#include <functional>
#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// Plays a recorded movie full screen, over the SDK's screens, until it ends or the person closes
// it. closed is called exactly once, on the main queue and never from inside play: with an empty
// problem when the movie ended, the person closed it or another movie took its place; otherwise
// with what kept the movie from playing.
class QUORVEL_EXPORT VideoPlayback {
 public:
  virtual ~VideoPlayback() = default;
  virtual void play(const std::string& moviePath,
                    std::function<void(const std::string& problem)> closed) = 0;
};

}  // namespace quorvel
