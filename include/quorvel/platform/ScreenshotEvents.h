#pragma once

#include <functional>

#include "quorvel/Export.h"
#include "quorvel/platform/ObserverList.h"

namespace quorvel {

// The person took a screenshot with the system's button chord. The platform reports each one on
// the main queue.
class QUORVEL_EXPORT ScreenshotEvents {
 public:
  Subscription addObserver(std::function<void()> observer) {
    return observers_.add(std::move(observer));
  }

  void userDidTakeScreenshot() { observers_.notify(); }

 private:
  ObserverList<> observers_;
};

}  // namespace quorvel
