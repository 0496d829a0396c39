#include <gtest/gtest-spi.h>

#include <fstream>
#include <thread>

#include "platform/contracts/CameraContract.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// Mistakes a camera can make; the suite must catch each.
enum class Fault {
  none,
  reportsOffQueue,
  reportsAfterStop,
  keepsOldSessions,
  recordsTwice,
  finishesTwice,
  capturesWithoutCamera
};

// A camera in virtual time that sees whatever text is in view 15 times a second and "records"
// a few bytes, with one fault built in on demand.
class SimulatedCamera : public Camera {
 public:
  SimulatedCamera(std::shared_ptr<ManualMainQueue> queue, Fault fault)
      : queue_(std::move(queue)), fault_(fault) {}

  std::string inView;

  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>&)> codesRead) override {
    return begin(std::make_shared<Session>(*this, std::move(codesRead)));
  }
  std::shared_ptr<CameraSession> startCapture(bool) override {
    if (fault_ == Fault::capturesWithoutCamera) return nullptr;
    return begin(std::make_shared<Session>(*this, nullptr));
  }

 private:
  class Session : public CameraSession {
   public:
    Session(SimulatedCamera& camera, std::function<void(const std::vector<std::string>&)> codes)
        : camera_(camera), codesRead_(std::move(codes)) {}
    ~Session() override { stop(); }

    void scan() {
      if (!codesRead_) return;  // a capture session
      camera_.queue_->asyncAfter(1 / 15.0, [this, alive = std::weak_ptr<int>(alive_)] {
        if (!alive.lock() || (!running_ && camera_.fault_ != Fault::reportsAfterStop)) return;
        const std::vector<std::string> codes{camera_.inView};
        if (camera_.fault_ == Fault::reportsOffQueue) {
          std::thread([&] { codesRead_(codes); }).join();
        } else if (!codes[0].empty()) {
          codesRead_(codes);
        }
        scan();
      });
    }
    void stop() override {
      running_ = false;
      stopRecording();
    }
    bool startRecording(const std::string& path,
                        std::function<void(std::optional<std::string>)> finished) override {
      if (!running_ || codesRead_ || (finished_ && camera_.fault_ != Fault::recordsTwice)) {
        return false;
      }
      path_ = path;
      finished_ = std::move(finished);
      return true;
    }
    void stopRecording() override {
      if (!finished_) return;
      std::ofstream(path_) << "moov";
      const int times = camera_.fault_ == Fault::finishesTwice ? 2 : 1;
      for (int i = 0; i < times; ++i) camera_.queue_->async([f = finished_] { f(std::nullopt); });
      finished_ = nullptr;
    }

   private:
    SimulatedCamera& camera_;
    std::function<void(const std::vector<std::string>&)> codesRead_;
    bool running_ = true;
    std::string path_;
    std::function<void(std::optional<std::string>)> finished_;
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
  };

  std::shared_ptr<CameraSession> begin(std::shared_ptr<Session> session) {
    if (auto before = current_.lock(); before && fault_ != Fault::keepsOldSessions) before->stop();
    current_ = session;
    session->scan();
    return session;
  }

  std::shared_ptr<ManualMainQueue> queue_;
  Fault fault_;
  std::weak_ptr<Session> current_;
};

// A camera on virtual time: the queue runs in steps of 0.1 s, the camera looking at what is in
// view before each step (the scripted camera sees codes only when told).
class VirtualTimeDriver : public CameraDriver {
 public:
  explicit VirtualTimeDriver(std::optional<Fault> fault) {
    if (fault) {
      simulated_ = std::make_unique<SimulatedCamera>(queue_, *fault);
    } else {
      scripted_ = std::make_unique<ScriptedCamera>(queue_);
    }
  }
  Camera& camera() override {
    return simulated_ ? static_cast<Camera&>(*simulated_) : static_cast<Camera&>(*scripted_);
  }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void show(const std::string& text) override { inView_ = text; }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) {
      if (simulated_) simulated_->inView = inView_;
      if (scripted_) scripted_->sees({inView_});
      queue_->advance(0.1);
    }
    return done();
  }
  void pass(double seconds) override { queue_->advance(seconds); }
  std::string moviePath(const std::string& name) override {
    return (movies_.path() / name).string();
  }

 private:
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
  TemporaryTree movies_{"quorvel-camera-contract"};
  std::string inView_;
  std::unique_ptr<SimulatedCamera> simulated_;
  std::unique_ptr<ScriptedCamera> scripted_;
};

QUORVEL_CAMERA_CONTRACT_TESTS()

CameraImplementation virtualTime(std::string name, std::optional<Fault> fault) {
  return {std::move(name), [fault] { return std::make_unique<VirtualTimeDriver>(fault); }};
}

INSTANTIATE_TEST_SUITE_P(Implementations, CameraContract,
                         ::testing::Values(virtualTime("Simulated", Fault::none),
                                           virtualTime("Scripted", std::nullopt)),
                         nameOfImplementation);

TEST(CameraContractItself, CatchesEachFault) {
  for (Fault fault : {Fault::reportsOffQueue, Fault::reportsAfterStop, Fault::keepsOldSessions,
                      Fault::recordsTwice, Fault::finishesTwice, Fault::capturesWithoutCamera}) {
    ::testing::TestPartResultArray failures;
    {
      ::testing::ScopedFakeTestPartResultReporter capture(
          ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
      for (auto check : {&contract::checkSessionsOrNone, &contract::checkCodesOnTheMainQueue,
                         &contract::checkOneSessionAtATime, &contract::checkRecordings}) {
        VirtualTimeDriver driver(fault);
        check(driver);
      }
    }
    EXPECT_GT(failures.size(), 0) << "the suite let camera fault " << static_cast<int>(fault)
                                  << " pass";
  }
}

}  // namespace
}  // namespace quorvel::testing
