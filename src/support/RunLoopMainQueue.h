#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// A main queue for programs without a toolkit event loop: whoever owns the main thread drives it
// with run() or runUntilIdle(), and is its thread from then on (the creating thread until then).
// async and stop may be called from any thread.
class RunLoopMainQueue : public MainQueue {
 public:
  void async(std::function<void()> work) override;
  void schedule(double delaySeconds, std::shared_ptr<WorkItem> item) override;
  bool isCurrent() const override { return owner_.load() == std::this_thread::get_id(); }

  // Runs work until stop() is called.
  void run();
  // Runs what is due now and then returns; returns how many items ran.
  std::size_t runUntilIdle();
  void stop();

 private:
  using SteadyTime = std::chrono::steady_clock::time_point;
  struct Timer {
    SteadyTime due;
    std::uint64_t order;
    std::shared_ptr<WorkItem> item;
  };

  // Takes the next runnable work, waiting until one is due when wait is set.
  bool takeNext(std::function<void()>& work, bool wait);

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> ready_;
  std::vector<Timer> timers_;
  std::uint64_t nextOrder_ = 0;
  bool stopped_ = false;
  std::atomic<std::thread::id> owner_{std::this_thread::get_id()};
};

}  // namespace quorvel
