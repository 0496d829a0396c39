#include "JudgingPool.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>

#ifdef __linux__
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace quorvel {

namespace {

// Judges decode films: they get what the connections leave.
constexpr int kJudgeNiceness = 10;

}  // namespace

struct JudgingPool::Shared {
  Judge judge;
  std::mutex mutex;
  std::condition_variable wake;
  std::condition_variable ended;
  std::deque<RunStore::Judgement> queue;
  bool stopping = false;
  std::vector<bool> done;
  // Held while a verdict is stored; once closed, the run store is never used again.
  std::mutex gate;
  RunStore* runs = nullptr;
};

JudgingPool::JudgingPool(RunStore& runs, Judge judge, std::size_t threads)
    : shared_(std::make_shared<Shared>()) {
  shared_->judge = std::move(judge);
  shared_->runs = &runs;
  if (threads == 0) {
    const unsigned hardware = std::thread::hardware_concurrency();
    threads = hardware > 1 ? hardware - 1 : 1;
  }
  shared_->done.assign(threads, false);
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back(work, shared_, i);
}

JudgingPool::~JudgingPool() { stop(); }

void JudgingPool::queue(RunStore::Judgement judgement) {
  {
    std::lock_guard lock(shared_->mutex);
    if (shared_->stopping) return;
    shared_->queue.push_back(std::move(judgement));
  }
  shared_->wake.notify_one();
}

void JudgingPool::stop() {
  if (threads_.empty()) return;
  std::unique_lock lock(shared_->mutex);
  shared_->stopping = true;
  shared_->queue.clear();
  shared_->wake.notify_all();
  auto allDone = [this] {
    return std::find(shared_->done.begin(), shared_->done.end(), false) == shared_->done.end();
  };
  shared_->ended.wait_for(lock, kStopGrace, allDone);
  {
    std::lock_guard closing(shared_->gate);
    shared_->runs = nullptr;
  }
  for (std::size_t i = 0; i < threads_.size(); ++i) {
    // A thread still in a judge holds its own share of the state and leaves the store alone.
    if (shared_->done[i]) {
      threads_[i].join();
    } else {
      threads_[i].detach();
      abandoned_ = true;
    }
  }
  threads_.clear();
}

void JudgingPool::work(const std::shared_ptr<Shared>& shared, std::size_t index) {
#ifdef __linux__
  // On Linux a thread's niceness is its own.
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kJudgeNiceness);
#endif
  std::unique_lock lock(shared->mutex);
  for (;;) {
    shared->wake.wait(lock, [&] { return shared->stopping || !shared->queue.empty(); });
    if (shared->stopping) break;
    RunStore::Judgement judgement = std::move(shared->queue.front());
    shared->queue.pop_front();
    lock.unlock();
    Verdict verdict;
    try {
      verdict = shared->judge(judgement);
    } catch (const std::exception& error) {
      verdict = Verdict::unknown(std::string("the evidence could not be judged: ") + error.what());
    } catch (...) {
      verdict = Verdict::unknown("the evidence could not be judged");
    }
    if (verdict.verdict != Verdict::kPass && verdict.verdict != Verdict::kFail &&
        verdict.verdict != Verdict::kUnknown) {
      verdict = Verdict::unknown("the judge gave no verdict");
    }
    {
      std::lock_guard storing(shared->gate);
      std::string error;
      if (shared->runs &&
          !shared->runs->setVerdict(judgement.results, judgement.resultKey, verdict, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
      }
    }
    lock.lock();
  }
  shared->done[index] = true;
  shared->ended.notify_all();
}

}  // namespace quorvel
