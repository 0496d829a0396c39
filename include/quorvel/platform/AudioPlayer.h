#pragma once

#include <functional>
#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// Plays a sound: a data asset of the SDK's bundle by name ("beep", "testfile" ...) or a file.
class QUORVEL_EXPORT AudioPlayer {
 public:
  virtual ~AudioPlayer() = default;

  // Starts playing; finished runs on the main queue with true when the sound played to its end,
  // false when it could not be played or was stopped. A new play stops the sound before it.
  virtual void playAsset(const std::string& assetName,
                         std::function<void(bool successfully)> finished) = 0;
  virtual void playFile(const std::string& path,
                        std::function<void(bool successfully)> finished) = 0;
  virtual void stop() = 0;
  // Seconds into the sound being played; 0 when none plays.
  virtual double currentTime() const = 0;
};

}  // namespace quorvel
