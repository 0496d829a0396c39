#include "quorvel/ui/Observable.h"

#include <algorithm>

#include "quorvel/platform/Platform.h"

namespace quorvel {

int Observable::addObserver(Observer observer) {
  int token = nextToken_++;
  observers_.emplace_back(token, std::move(observer));
  return token;
}

void Observable::removeObserver(int token) {
  std::erase_if(observers_, [token](const auto& entry) { return entry.first == token; });
}

void Observable::setNeedsUpdate() {
  if (updateScheduled_ || observers_.empty()) return;
  updateScheduled_ = true;
  std::weak_ptr<Observable*> weak = self_;
  platform().mainQueue->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    Observable* observable = *self;
    observable->updateScheduled_ = false;
    // Copy: an observer may remove itself.
    auto observers = observable->observers_;
    for (auto& [token, observer] : observers) observer();
  });
}

}  // namespace quorvel
