#include "support/ManualMainQueue.h"

#include <algorithm>

namespace quorvel::testing {

void ManualMainQueue::async(std::function<void()> work) {
  std::lock_guard lock(mutex_);
  ready_.push_back(std::move(work));
}

void ManualMainQueue::schedule(double delaySeconds, std::shared_ptr<WorkItem> item) {
  std::lock_guard lock(mutex_);
  timers_.push_back({now_ + std::max(0.0, delaySeconds), std::move(item)});
}

bool ManualMainQueue::runOne(double until) {
  std::function<void()> work;
  {
    std::lock_guard lock(mutex_);
    if (!ready_.empty()) {
      work = std::move(ready_.front());
      ready_.pop_front();
    } else {
      // Timers are kept in the order they were set: the first of the earliest is the oldest.
      auto due = std::ranges::min_element(timers_, {}, &Timer::due);
      if (due == timers_.end() || due->due > until) return false;
      now_ = std::max(now_, due->due);
      auto item = due->item;
      timers_.erase(due);
      work = [item] { item->perform(); };
    }
  }
  work();
  return true;
}

std::size_t ManualMainQueue::runUntilIdle() {
  owner_ = std::this_thread::get_id();
  std::size_t count = 0;
  while (runOne(now_)) ++count;
  return count;
}

void ManualMainQueue::advance(double seconds) {
  owner_ = std::this_thread::get_id();
  double until = now_ + seconds;
  while (runOne(until)) {
  }
  now_ = until;
}

std::vector<double> ManualMainQueue::pendingDelays() const {
  std::lock_guard lock(mutex_);
  std::vector<double> delays;
  for (const auto& timer : timers_) {
    if (!timer.item->isCancelled()) delays.push_back(timer.due - now_);
  }
  std::sort(delays.begin(), delays.end());
  return delays;
}

}  // namespace quorvel::testing
