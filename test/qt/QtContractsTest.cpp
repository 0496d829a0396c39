// The Qt implementations, and the virtual devices that stand in for hardware, against the shared
// contracts, each on the GUI thread's queue in real time.
#include <QCoreApplication>
#include <QElapsedTimer>

#include "PictureWindow.h"
#include "QuickFixture.h"
#include "platform/contracts/AudioPlayerContract.h"
#include "platform/contracts/AudioRecorderContract.h"
#include "platform/contracts/CameraContract.h"
#include "platform/contracts/VideoPlaybackContract.h"
#include "qt/QtAudioPlayer.h"
#include "qt/QtMainQueue.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "support/MainQueueContract.h"
#include "support/MovieProbe.h"

namespace quorvel::testing {
namespace {

// The Qt event loop of the GUI thread.
class QtQueueDriver : public MainQueueDriver {
 public:
  QtQueueDriver() { clock_.start(); }
  MainQueue& queue() override { return queue_; }
  void pass(double seconds) override {
    QElapsedTimer passed;
    passed.start();
    do {
      QCoreApplication::processEvents(QEventLoop::AllEvents);
      QTest::qSleep(1);
    } while (passed.nsecsElapsed() < static_cast<qint64>(seconds * 1e9));
    QCoreApplication::processEvents(QEventLoop::AllEvents);
  }
  double now() const override { return static_cast<double>(clock_.nsecsElapsed()) / 1e9; }

 private:
  QtMainQueue queue_;
  QElapsedTimer clock_;
};

QUORVEL_MAIN_QUEUE_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, MainQueueContract,
                         ::testing::Values(MainQueueImplementation{
                             "Qt", [] { return std::make_unique<QtQueueDriver>(); }}),
                         implementationName);

class QtPlayerDriver : public AudioPlayerDriver {
 public:
  AudioPlayer& player() override { return player_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  bool runUntil(const std::function<bool()>& done) override { return QTest::qWaitFor(done, 20000); }
  void settle() override { QTest::qWait(500); }

 private:
  std::shared_ptr<QtMainQueue> queue_ = std::make_shared<QtMainQueue>();
  QtAudioPlayer player_{queue_};
};

QUORVEL_AUDIO_PLAYER_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioPlayerContract,
                         ::testing::Values(AudioPlayerImplementation{
                             "Qt", [] { return std::make_unique<QtPlayerDriver>(); }}),
                         nameOfImplementation);

// The front end's movie player in its ready-made offscreen window.
class QtPlaybackDriver : public VideoPlaybackDriver {
 public:
  QtPlaybackDriver() { frontEnd_.show(); }
  VideoPlayback& playback() override { return *frontEnd_.platform().videoPlayback; }
  std::shared_ptr<MainQueue> queue() override { return frontEnd_.platform().mainQueue; }
  std::string movie(int seconds) override {
    const std::string path = (folder_.path() / (std::to_string(seconds) + ".mp4")).string();
    EXPECT_TRUE(makeMovie(path, seconds, false)) << "ffmpeg could not make the movie";
    return path;
  }
  void closeByPerson() override {
    QQuickItem* close = findNamed(frontEnd_.window()->contentItem(), "moviePlayerClose");
    ASSERT_NE(close, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return close->isVisible(); }, 10000));
    QTest::mouseClick(frontEnd_.window(), Qt::LeftButton, Qt::NoModifier,
                      close->mapToScene(close->boundingRect().center()).toPoint());
  }
  bool runUntil(const std::function<bool()>& done) override { return QTest::qWaitFor(done, 20000); }
  void settle() override { QTest::qWait(500); }

 private:
  TemporaryTree folder_{"quorvel-playback"};
  QuickFrontEnd frontEnd_;
};

QUORVEL_VIDEO_PLAYBACK_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, VideoPlaybackContract,
                         ::testing::Values(VideoPlaybackImplementation{
                             "Qt", [] { return std::make_unique<QtPlaybackDriver>(); }}),
                         nameOfImplementation);

// The mirror camera filming an offscreen window.
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

// The virtual recorder, recording its room. What it writes, real AAC of what the room heard, is
// checked through the sound screens in ScreensAloneTest.
class VirtualRecorderDriver : public AudioRecorderDriver {
 public:
  AudioRecorder& recorder() override { return recorder_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void run(double seconds) override { QTest::qWait(static_cast<int>(seconds * 1000)); }

 private:
  std::shared_ptr<QtMainQueue> queue_ = std::make_shared<QtMainQueue>();
  VirtualAudioRecorder recorder_{std::make_shared<VirtualRoom>(), queue_};
};

QUORVEL_AUDIO_RECORDER_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioRecorderContract,
                         ::testing::Values(AudioRecorderImplementation{
                             "Virtual", [] { return std::make_unique<VirtualRecorderDriver>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
