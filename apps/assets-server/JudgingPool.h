#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "RunStore.h"

namespace quorvel {

// Threads that judge pending verdicts one at a time each, at a lower CPU priority than the
// connections, and store what they find. The queue holds only which verdicts wait: the run store
// is their truth, so a restart queues its pending verdicts again. Queueing never waits for a
// judge, so a busy pool holds up no upload.
class JudgingPool {
 public:
  // The verdict on one judgement; may throw (the verdict is then unknown). It is copied into the
  // pool and must own what it uses: a judgement abandoned by stop() may still be running it.
  using Judge = std::function<Verdict(const RunStore::Judgement&)>;
  // How long stop() waits for judgements in progress before it abandons them.
  static constexpr std::chrono::milliseconds kStopGrace{2000};

  // threads 0: one fewer than the machine's hardware threads, at least one.
  JudgingPool(RunStore& runs, Judge judge, std::size_t threads);
  ~JudgingPool();
  JudgingPool(const JudgingPool&) = delete;
  JudgingPool& operator=(const JudgingPool&) = delete;

  void queue(RunStore::Judgement judgement);
  // Takes nothing more from the queue, lets the judgements in progress end within kStopGrace and
  // stores their verdicts; those still running then are abandoned, their verdicts pending in the
  // store. The run store is not used after it returns. Safe to repeat.
  void stop();
  // Whether a stop() left a judgement running on its own thread.
  bool abandoned() const { return abandoned_; }

 private:
  struct Shared;
  static void work(const std::shared_ptr<Shared>& shared, std::size_t index);

  std::shared_ptr<Shared> shared_;
  std::vector<std::thread> threads_;
  bool abandoned_ = false;
};

}  // namespace quorvel
