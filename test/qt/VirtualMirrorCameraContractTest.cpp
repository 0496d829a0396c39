#include <QTest>

#include "PictureWindow.h"
#include "platform/contracts/CameraContract.h"
#include "qt/QtMainQueue.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The mirror camera filming an offscreen window, answering on the Qt main queue in real time.
class MirrorCameraDriver : public CameraDriver {
 public:
  explicit MirrorCameraDriver(bool withWindow)
      : camera_(withWindow ? &window_ : nullptr, std::make_shared<VirtualRoom>()) {
    Platform p = platform();
    p.mainQueue = queue_;
    installPlatform(p);
  }
  ~MirrorCameraDriver() override { installPlatform(makeDefaultPlatform()); }

  Camera& camera() override { return camera_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void show(const std::string& text) override { window_.showCode(text); }
  bool runUntil(const std::function<bool()>& done) override { return QTest::qWaitFor(done, 10000); }
  void pass(double seconds) override { QTest::qWait(static_cast<int>(seconds * 1000)); }
  std::string moviePath(const std::string& name) override {
    return (movies_.path() / name).string();
  }

 private:
  std::shared_ptr<QtMainQueue> queue_ = std::make_shared<QtMainQueue>();
  TemporaryTree movies_{"quorvel-mirror-contract"};
  PictureWindow window_;
  VirtualMirrorCamera camera_;
};

QUORVEL_CAMERA_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(
    Implementations, CameraContract,
    ::testing::Values(
        CameraImplementation{"Mirror", [] { return std::make_unique<MirrorCameraDriver>(true); }},
        CameraImplementation{"MirrorWithoutWindow",
                             [] { return std::make_unique<MirrorCameraDriver>(false); }}),
    nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
