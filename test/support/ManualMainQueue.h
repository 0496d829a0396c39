#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "quorvel/platform/MainQueue.h"

namespace quorvel::testing {

// A main queue on virtual time: tests run it explicitly, and delays pass only when advanced.
class ManualMainQueue : public MainQueue {
 public:
  void async(std::function<void()> work) override;
  void schedule(double delaySeconds, std::shared_ptr<WorkItem> item) override;
  // The thread that last ran the queue (the creating one until then).
  bool isCurrent() const override { return owner_.load() == std::this_thread::get_id(); }

  // Runs everything due now, including work queued by that work; returns how many ran.
  std::size_t runUntilIdle();
  // Moves virtual time forward, running each timer at its moment.
  void advance(double seconds);
  double now() const { return now_; }
  // Delays (from now) of the timers not yet run or cancelled.
  std::vector<double> pendingDelays() const;

 private:
  struct Timer {
    double due;
    std::shared_ptr<WorkItem> item;
  };
  bool runOne(double until);

  mutable std::mutex mutex_;
  std::deque<std::function<void()>> ready_;
  std::vector<Timer> timers_;
  double now_ = 0;
  std::atomic<std::thread::id> owner_{std::this_thread::get_id()};
};

// The virtual time of queue when it is a ManualMainQueue; 0 on any other queue.
inline double virtualNow(const MainQueue& queue) {
  const auto* manual = dynamic_cast<const ManualMainQueue*>(&queue);
  return manual ? manual->now() : 0;
}

}  // namespace quorvel::testing
