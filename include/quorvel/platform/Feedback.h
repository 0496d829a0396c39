#pragma once

#include "quorvel/Export.h"

namespace quorvel {

// What the device gives a person to feel: the short vibration a phone makes when its camera has
// read a code. A device that cannot vibrate does nothing.
class QUORVEL_EXPORT Feedback {
 public:
  virtual ~Feedback() = default;

  // Returns at once; the vibration, where there is one, follows.
  virtual void vibrate() = 0;
};

}  // namespace quorvel
