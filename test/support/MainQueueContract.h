#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "quorvel/platform/MainQueue.h"

namespace quorvel::testing {

// What every MainQueue must do, whoever implements it: order, delays, cancellation, and work
// handed in from other threads. A driver runs the queue under test on the test's thread, the
// queue's own thread.
class MainQueueDriver {
 public:
  virtual ~MainQueueDriver() = default;
  virtual MainQueue& queue() = 0;
  // Runs what is due, letting seconds of the queue's time pass.
  virtual void pass(double seconds) = 0;
  // Seconds of the queue's time since the driver was made.
  virtual double now() const = 0;
};

using MainQueueFactory = std::function<std::unique_ptr<MainQueueDriver>()>;

struct MainQueueImplementation {
  std::string name;
  MainQueueFactory make;
};

namespace contract {

// async work runs on a later turn, in submission order, also when queued by running work.
inline void checkOrder(MainQueueDriver& driver) {
  std::vector<int> ran;
  for (int i = 0; i < 3; ++i) {
    driver.queue().async([&ran, &driver, i] {
      ran.push_back(i);
      if (i == 0) driver.queue().async([&ran] { ran.push_back(3); });
    });
  }
  EXPECT_TRUE(ran.empty()) << "async ran before the caller returned to the queue";
  driver.pass(0);
  EXPECT_EQ(ran, (std::vector<int>{0, 1, 2, 3}));
}

// Delayed work runs in the order it falls due, never before its delay, and work due at the same
// moment runs in submission order.
inline void checkDelays(MainQueueDriver& driver) {
  struct Run {
    std::string name;
    double at;
  };
  std::vector<Run> runs;
  auto record = [&](std::string name) {
    return [&runs, &driver, name] { runs.push_back({name, driver.now()}); };
  };
  double start = driver.now();
  driver.queue().asyncAfter(0.12, record("late"));
  driver.queue().asyncAfter(0.04, record("early"));
  driver.queue().asyncAfter(0.08, record("tie-a"));
  driver.queue().asyncAfter(0.08, record("tie-b"));
  driver.pass(0.02);
  EXPECT_TRUE(runs.empty()) << "delayed work ran before its time";
  driver.pass(0.2);
  std::vector<std::string> order;
  for (const auto& run : runs) order.push_back(run.name);
  EXPECT_EQ(order, (std::vector<std::string>{"early", "tie-a", "tie-b", "late"}));
  const std::vector<double> delays = {0.04, 0.08, 0.08, 0.12};
  for (std::size_t i = 0; i < runs.size() && i < delays.size(); ++i) {
    EXPECT_GE(runs[i].at - start, delays[i] - 1e-9) << runs[i].name << " ran before its time";
  }
}

// A cancelled item never runs; cancelling one leaves the others alone.
inline void checkCancellation(MainQueueDriver& driver) {
  int kept = 0;
  int dropped = 0;
  auto cancelled = driver.queue().asyncAfter(0.03, [&] { ++dropped; });
  driver.queue().asyncAfter(0.03, [&] { ++kept; });
  auto cancelledAtOnce = driver.queue().asyncAfter(0, [&] { ++dropped; });
  cancelledAtOnce->cancel();
  driver.pass(0.01);
  cancelled->cancel();
  driver.pass(0.1);
  EXPECT_EQ(dropped, 0);
  EXPECT_EQ(kept, 1);
  EXPECT_TRUE(cancelled->isCancelled());
}

// Work handed in from other threads all runs, on the queue's thread, each thread's in its order.
inline void checkOtherThreads(MainQueueDriver& driver) {
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::mutex mutex;
  std::vector<std::vector<int>> ran(kThreads);
  std::atomic<int> offQueue{0};
  std::atomic<bool> askedElsewhere{true};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      if (driver.queue().isCurrent()) askedElsewhere = false;
      for (int i = 0; i < kEach; ++i) {
        auto work = [&, t, i] {
          if (!driver.queue().isCurrent()) ++offQueue;
          std::lock_guard lock(mutex);
          ran[static_cast<std::size_t>(t)].push_back(i);
        };
        if (i % 10 == 0) {
          driver.queue().asyncAfter(0, work);
        } else {
          driver.queue().async(work);
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(driver.queue().isCurrent());
  EXPECT_TRUE(askedElsewhere) << "isCurrent() said yes on another thread";
  for (int round = 0; round < 50; ++round) {
    driver.pass(0.01);
    std::lock_guard lock(mutex);
    std::size_t total = 0;
    for (const auto& each : ran) total += each.size();
    if (total == kThreads * kEach) break;
  }
  EXPECT_EQ(offQueue, 0) << "work ran off the queue's thread";
  for (const auto& each : ran) {
    ASSERT_EQ(each.size(), static_cast<std::size_t>(kEach)) << "work was lost";
    // Plain async work keeps its thread's order.
    std::vector<int> plain;
    for (int i : each) {
      if (i % 10 != 0) plain.push_back(i);
    }
    EXPECT_TRUE(std::is_sorted(plain.begin(), plain.end()));
  }
}

}  // namespace contract

// The suite; each program instantiates it with its implementations.
class MainQueueContract : public ::testing::TestWithParam<MainQueueImplementation> {
 protected:
  std::unique_ptr<MainQueueDriver> driver = GetParam().make();
};

inline std::string implementationName(
    const ::testing::TestParamInfo<MainQueueImplementation>& info) {
  return info.param.name;
}

}  // namespace quorvel::testing

// Defines the suite's tests in the program that includes it once.
#define QUORVEL_MAIN_QUEUE_CONTRACT_TESTS()                                                       \
  TEST_P(MainQueueContract, RunsAsyncWorkLaterInOrder) { contract::checkOrder(*driver); }         \
  TEST_P(MainQueueContract, RunsDelayedWorkWhenDueInDueOrder) { contract::checkDelays(*driver); } \
  TEST_P(MainQueueContract, NeverRunsCancelledWork) { contract::checkCancellation(*driver); }     \
  TEST_P(MainQueueContract, TakesWorkFromOtherThreads) { contract::checkOtherThreads(*driver); }
