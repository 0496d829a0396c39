#pragma once

#include <functional>

#include "quorvel/platform/Subscription.h"

namespace quorvel {

// The application's shared audio session: whether its audio is active, and the system's output
// volume with change observation.
class AudioSession {
 public:
  virtual ~AudioSession() = default;

  virtual void setActive(bool active) = 0;
  virtual bool isActive() const = 0;

  // 0.0 to 1.0.
  virtual float outputVolume() const = 0;
  // The platform reports every change of the level on the main queue, including a key press that
  // leaves it at 0.0 or 1.0.
  virtual Subscription observeOutputVolume(std::function<void(float volume)> observer) = 0;
};

}  // namespace quorvel
