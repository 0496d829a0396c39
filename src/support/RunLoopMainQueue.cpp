#include "support/RunLoopMainQueue.h"

#include <algorithm>

namespace quorvel {

void RunLoopMainQueue::async(std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    ready_.push_back(std::move(work));
  }
  wake_.notify_one();
}

void RunLoopMainQueue::schedule(double delaySeconds, std::shared_ptr<WorkItem> item) {
  auto delay = std::chrono::duration_cast<std::chrono::steady_clock::duration>(
      std::chrono::duration<double>(std::max(0.0, delaySeconds)));
  {
    std::lock_guard lock(mutex_);
    timers_.push_back({std::chrono::steady_clock::now() + delay, nextOrder_++, std::move(item)});
  }
  wake_.notify_one();
}

bool RunLoopMainQueue::takeNext(std::function<void()>& work, bool wait) {
  std::unique_lock lock(mutex_);
  for (;;) {
    auto now = std::chrono::steady_clock::now();
    auto due = std::min_element(timers_.begin(), timers_.end(), [](const Timer& a, const Timer& b) {
      return a.due != b.due ? a.due < b.due : a.order < b.order;
    });
    if (due != timers_.end() && due->due <= now) {
      auto item = due->item;
      timers_.erase(due);
      work = [item] { item->perform(); };
      return true;
    }
    if (!ready_.empty()) {
      work = std::move(ready_.front());
      ready_.pop_front();
      return true;
    }
    if (!wait || stopped_) return false;
    if (due == timers_.end()) {
      wake_.wait(lock);
    } else {
      wake_.wait_until(lock, due->due);
    }
  }
}

void RunLoopMainQueue::run() {
  owner_ = std::this_thread::get_id();
  {
    std::lock_guard lock(mutex_);
    stopped_ = false;
  }
  std::function<void()> work;
  while (takeNext(work, true)) {
    work();
    work = nullptr;
  }
}

std::size_t RunLoopMainQueue::runUntilIdle() {
  owner_ = std::this_thread::get_id();
  std::size_t count = 0;
  std::function<void()> work;
  while (takeNext(work, false)) {
    work();
    work = nullptr;
    ++count;
  }
  return count;
}

void RunLoopMainQueue::stop() {
  {
    std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  wake_.notify_all();
}

}  // namespace quorvel
