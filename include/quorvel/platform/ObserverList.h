#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/platform/Subscription.h"

namespace quorvel {

// The observers of one kind of event, for ports whose events the platform reports. Adding the same
// observer twice registers it twice, as notification centres do.
template <class... Args>
class QUORVEL_EXPORT ObserverList {
 public:
  using Observer = std::function<void(Args...)>;

  ObserverList() = default;
  ObserverList(const ObserverList&) = delete;
  ObserverList& operator=(const ObserverList&) = delete;

  Subscription add(Observer observer) {
    int token = state_->nextToken++;
    state_->entries.emplace_back(token, std::make_shared<Observer>(std::move(observer)));
    std::weak_ptr<State> weak = state_;
    return Subscription([weak, token] {
      if (auto state = weak.lock()) {
        std::erase_if(state->entries, [token](const auto& entry) { return entry.first == token; });
      }
    });
  }

  // Calls the observers registered when the event arrived; one that an earlier observer removed
  // is skipped, one added meanwhile waits for the next event.
  void notify(Args... args) const {
    auto entries = state_->entries;
    for (const auto& [token, observer] : entries) {
      if (!contains(token)) continue;
      (*observer)(args...);
    }
  }

  std::size_t size() const { return state_->entries.size(); }

 private:
  struct State {
    // The observer is shared so that it survives its own removal while it runs.
    std::vector<std::pair<int, std::shared_ptr<Observer>>> entries;
    int nextToken = 1;
  };

  bool contains(int token) const {
    return std::any_of(state_->entries.begin(), state_->entries.end(),
                       [token](const auto& entry) { return entry.first == token; });
  }

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace quorvel
