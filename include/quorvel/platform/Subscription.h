#pragma once

#include <functional>
#include <utility>

#include "quorvel/Export.h"

namespace quorvel {

// Keeps an observer registered until it is cancelled or destroyed, so that an observer can never
// outlive whoever registered it.
class QUORVEL_EXPORT Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      cancel();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  Subscription(const Subscription&) = delete;
  Subscription& operator=(const Subscription&) = delete;
  ~Subscription() { cancel(); }

  void cancel() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }
  bool isActive() const { return cancel_ != nullptr; }

 private:
  std::function<void()> cancel_;
};

}  // namespace quorvel
