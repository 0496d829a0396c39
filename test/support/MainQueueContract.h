#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/contracts/Implementation.h"
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

using MainQueueImplementation = Implementation<MainQueueDriver>;
inline constexpr auto implementationName = nameOfImplementation;

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
  std::vector<std::pair<std::string, double>> runs;  // name, seconds after start
  const double start = driver.now();
  for (auto [name, delay] :
       {std::pair{"late", 0.12}, {"early", 0.04}, {"tie-a", 0.08}, {"tie-b", 0.08}}) {
    driver.queue().asyncAfter(delay, [&runs, &driver, start, name = std::string(name)] {
      runs.emplace_back(name, driver.now() - start);
    });
  }
  driver.pass(0.02);
  EXPECT_TRUE(runs.empty()) << "delayed work ran before its time";
  driver.pass(0.2);
  const std::vector<std::pair<std::string, double>> due = {
      {"early", 0.04}, {"tie-a", 0.08}, {"tie-b", 0.08}, {"late", 0.12}};
  ASSERT_EQ(runs.size(), due.size());
  for (std::size_t i = 0; i < runs.size(); ++i) {
    EXPECT_EQ(runs[i].first, due[i].first);
    EXPECT_GE(runs[i].second, due[i].second - 1e-9) << runs[i].first << " ran before its time";
  }
}

// A cancelled item never runs; cancelling one leaves the others alone.
inline void checkCancellation(MainQueueDriver& driver) {
  int kept = 0;
  int dropped = 0;
  auto cancelled = driver.queue().asyncAfter(0.03, [&] { ++dropped; });
  driver.queue().asyncAfter(0.03, [&] { ++kept; });
  driver.queue().asyncAfter(0, [&] { ++dropped; })->cancel();
  driver.pass(0.01);
  cancelled->cancel();
  driver.pass(0.1);
  EXPECT_EQ(dropped, 0);
  EXPECT_EQ(kept, 1);
}

// Work handed in from other threads all runs, on the queue's thread, each thread's plain async
// work in its order.
inline void checkOtherThreads(MainQueueDriver& driver) {
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::mutex mutex;
  std::vector<std::vector<int>> ran(kThreads);
  std::atomic<int> offQueue{0};
  std::atomic<int> total{0};
  std::atomic<bool> askedElsewhere{true};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      if (driver.queue().isCurrent()) askedElsewhere = false;
      for (int i = 0; i < kEach; ++i) {
        auto work = [&, t, i] {
          if (!driver.queue().isCurrent()) ++offQueue;
          std::lock_guard lock(mutex);
          if (i % 10 != 0) ran[static_cast<std::size_t>(t)].push_back(i);
          ++total;
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
  for (int round = 0; round < 50 && total < kThreads * kEach; ++round) driver.pass(0.01);
  EXPECT_EQ(total, kThreads * kEach) << "work was lost";
  EXPECT_EQ(offQueue, 0) << "work ran off the queue's thread";
  std::lock_guard lock(mutex);
  for (const auto& each : ran) EXPECT_TRUE(std::is_sorted(each.begin(), each.end()));
}

}  // namespace contract

// The suite; each program instantiates it with its implementations.
class MainQueueContract : public ::testing::TestWithParam<MainQueueImplementation> {
 protected:
  std::unique_ptr<MainQueueDriver> driver = GetParam().make();
};

}  // namespace quorvel::testing

// Defines the suite's tests in the program that includes it once.
#define QUORVEL_MAIN_QUEUE_CONTRACT_TESTS()                                                       \
  TEST_P(MainQueueContract, RunsAsyncWorkLaterInOrder) { contract::checkOrder(*driver); }         \
  TEST_P(MainQueueContract, RunsDelayedWorkWhenDueInDueOrder) { contract::checkDelays(*driver); } \
  TEST_P(MainQueueContract, NeverRunsCancelledWork) { contract::checkCancellation(*driver); }     \
  TEST_P(MainQueueContract, TakesWorkFromOtherThreads) { contract::checkOtherThreads(*driver); }
