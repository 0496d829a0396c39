#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "quorvel/Export.h"

namespace quorvel {

// A unit of delayed work that can be cancelled until it runs.
class QUORVEL_EXPORT WorkItem {
 public:
  explicit WorkItem(std::function<void()> work) : work_(std::move(work)) {}

  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }

  // Runs the work unless it was cancelled; the queue calls this once.
  void perform() {
    if (!cancelled_ && work_) work_();
    work_ = nullptr;
  }

 private:
  std::function<void()> work_;
  std::atomic<bool> cancelled_{false};
};

// The one queue on which all of the core runs. async may be called from any thread (adapters hop
// back to it); everything else is called on the queue itself.
class QUORVEL_EXPORT MainQueue {
 public:
  virtual ~MainQueue() = default;

  // Runs work on a later turn of the queue, in submission order.
  virtual void async(std::function<void()> work) = 0;
  // Performs item after delaySeconds (>= 0); items due at the same moment run in submission order.
  virtual void schedule(double delaySeconds, std::shared_ptr<WorkItem> item) = 0;
  // Whether the calling thread is the one the queue runs its work on. Any thread may ask.
  virtual bool isCurrent() const = 0;

  std::shared_ptr<WorkItem> asyncAfter(double delaySeconds, std::function<void()> work) {
    auto item = std::make_shared<WorkItem>(std::move(work));
    schedule(delaySeconds, item);
    return item;
  }
};

}  // namespace quorvel
