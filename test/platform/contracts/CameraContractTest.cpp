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
        if (!camera_.inView.empty()) report({camera_.inView});
        scan();
      });
    }
    void report(const std::vector<std::string>& codes) {
      if (camera_.fault_ == Fault::reportsOffQueue) {
        std::thread([&] { codesRead_(codes); }).join();
      } else {
        codesRead_(codes);
      }
    }
    void stop() override {
      running_ = false;
      stopRecording();
    }
    bool startRecording(const std::string& path,
                        std::function<void(std::optional<std::string>)> finished) override {
      if (!running_ || codesRead_) return false;
      if (finished_ && camera_.fault_ != Fault::recordsTwice) return false;
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

// A camera on virtual time: the queue runs in steps of 0.1 s, looking at what is in view before
// each step.
class VirtualTimeDriver : public CameraDriver {
 public:
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void show(const std::string& text) override { inView_ = text; }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) {
      look(inView_);
      queue_->advance(0.1);
    }
    return done();
  }
  void pass(double seconds) override { queue_->advance(seconds); }
  std::string moviePath(const std::string& name) override {
    return (movies_.path() / name).string();
  }

 protected:
  virtual void look(const std::string& inView) = 0;

  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();

 private:
  TemporaryTree movies_{"quorvel-camera-contract"};
  std::string inView_;
};

class SimulatedDriver : public VirtualTimeDriver {
 public:
  explicit SimulatedDriver(Fault fault = Fault::none) : camera_(queue_, fault) {}
  Camera& camera() override { return camera_; }

 private:
  void look(const std::string& inView) override { camera_.inView = inView; }
  SimulatedCamera camera_;
};

// The test platform's camera, which sees codes only when told.
class ScriptedDriver : public VirtualTimeDriver {
 public:
  Camera& camera() override { return *camera_; }

 private:
  void look(const std::string& inView) override { camera_->sees({inView}); }
  std::shared_ptr<ScriptedCamera> camera_ = std::make_shared<ScriptedCamera>(queue_);
};

QUORVEL_CAMERA_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(
    Implementations, CameraContract,
    ::testing::Values(
        CameraImplementation{"Simulated", [] { return std::make_unique<SimulatedDriver>(); }},
        CameraImplementation{"Scripted", [] { return std::make_unique<ScriptedDriver>(); }}),
    cameraName);

TEST(CameraContractItself, CatchesEachFault) {
  const std::vector<std::pair<Fault, const char*>> faults = {
      {Fault::reportsOffQueue, "reportsOffQueue"},
      {Fault::reportsAfterStop, "reportsAfterStop"},
      {Fault::keepsOldSessions, "keepsOldSessions"},
      {Fault::recordsTwice, "recordsTwice"},
      {Fault::finishesTwice, "finishesTwice"},
      {Fault::capturesWithoutCamera, "capturesWithoutCamera"}};
  for (const auto& [fault, name] : faults) {
    ::testing::TestPartResultArray failures;
    {
      ::testing::ScopedFakeTestPartResultReporter capture(
          ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
      for (auto check : {&contract::checkSessionsOrNone, &contract::checkCodesOnTheMainQueue,
                         &contract::checkOneSessionAtATime, &contract::checkRecordings}) {
        SimulatedDriver driver(fault);
        check(driver);
      }
    }
    EXPECT_GT(failures.size(), 0) << "the suite let a camera that " << name << " pass";
  }
}

}  // namespace
}  // namespace quorvel::testing
