#pragma once

#include <functional>

#include "quorvel/Export.h"
#include "quorvel/platform/ObserverList.h"

namespace quorvel {

// One change of the system's output volume.
struct QUORVEL_EXPORT VolumeChange {
  // The new level, 0.0 to 1.0.
  float volume = 0;
  // The person pressed a hardware volume key; changes by the system or other apps are not.
  bool explicitChange = false;
};

// The system's volume changes. The platform reports them on the main queue: one per hardware key
// press, also when the level is already at 0.0 or 1.0, and one for every other change.
class QUORVEL_EXPORT VolumeEvents {
 public:
  Subscription addObserver(std::function<void(const VolumeChange&)> observer) {
    return observers_.add(std::move(observer));
  }

  void report(const VolumeChange& change) { observers_.notify(change); }

 private:
  ObserverList<const VolumeChange&> observers_;
};

}  // namespace quorvel
