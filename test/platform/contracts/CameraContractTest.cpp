#include "platform/contracts/CameraContract.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The test platform's camera on virtual time: the queue runs in steps of 0.1 s, the camera
// seeing what is in view before each step.
class VirtualTimeDriver : public CameraDriver {
 public:
  Camera& camera() override { return camera_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void show(const std::string& text) override { inView_ = text; }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) {
      camera_.sees({inView_});
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
  ScriptedCamera camera_{queue_};
};

QUORVEL_CAMERA_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, CameraContract,
                         ::testing::Values(CameraImplementation{
                             "Scripted", [] { return std::make_unique<VirtualTimeDriver>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
