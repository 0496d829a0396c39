#pragma once

#include <functional>

#include "quorvel/platform/ObserverList.h"

namespace quorvel {

// The application's shared audio session: whether its audio is active, and the system's output
// volume with change observation.
class AudioSession {
 public:
  // outputVolume: the level until the platform reports one.
  explicit AudioSession(float outputVolume = 1.0f) : outputVolume_(outputVolume) {}

  void setActive(bool active) { active_ = active; }
  bool isActive() const { return active_; }

  // 0.0 to 1.0.
  float outputVolume() const { return outputVolume_; }
  Subscription observeOutputVolume(std::function<void(float volume)> observer) {
    return observers_.add(std::move(observer));
  }

  // The platform reports every change of the level on the main queue, including a key press that
  // leaves it at 0.0 or 1.0.
  void outputVolumeDidChange(float volume) {
    outputVolume_ = volume;
    observers_.notify(volume);
  }

 private:
  bool active_ = false;
  float outputVolume_;
  ObserverList<float> observers_;
};

}  // namespace quorvel
