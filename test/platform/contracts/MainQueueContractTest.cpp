#include <chrono>
#include <thread>

#include "support/MainQueueContract.h"
#include "support/ManualMainQueue.h"
#include "support/RunLoopMainQueue.h"

namespace quorvel::testing {
namespace {

// The run loop of programs without a toolkit, on real time.
class RunLoopDriver : public MainQueueDriver {
 public:
  MainQueue& queue() override { return queue_; }
  void pass(double seconds) override {
    auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    do {
      queue_.runUntilIdle();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } while (std::chrono::steady_clock::now() < until);
    queue_.runUntilIdle();
  }
  double now() const override {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  RunLoopMainQueue queue_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// The tests' queue, on virtual time.
class ManualDriver : public MainQueueDriver {
 public:
  MainQueue& queue() override { return *queue_; }
  void pass(double seconds) override { queue_->advance(seconds); }
  double now() const override { return queue_->now(); }

 private:
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
};

QUORVEL_MAIN_QUEUE_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(
    Implementations, MainQueueContract,
    ::testing::Values(
        MainQueueImplementation{"RunLoop", [] { return std::make_unique<RunLoopDriver>(); }},
        MainQueueImplementation{"Manual", [] { return std::make_unique<ManualDriver>(); }}),
    implementationName);

}  // namespace
}  // namespace quorvel::testing
