// The test platform's implementations of the ports, the tracked audio session and the run loop,
// under the contracts that the toolkits' adapters meet too.
#include <chrono>
#include <fstream>
#include <thread>

#include "platform/contracts/AudioPlayerContract.h"
#include "platform/contracts/AudioRecorderContract.h"
#include "platform/contracts/AudioSessionContract.h"
#include "platform/contracts/CameraContract.h"
#include "platform/contracts/VideoPlaybackContract.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "support/MainQueueContract.h"
#include "support/ManualMainQueue.h"
#include "support/RunLoopMainQueue.h"
#include "support/ScriptedAudioRecorder.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The test platform's players, on virtual time.
template <class Driver>
class VirtualTime : public Driver {
 public:
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) queue_->advance(0.1);
    return done();
  }
  void settle() override { queue_->advance(5); }

 protected:
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
};

class RecordingAudioDriver : public VirtualTime<AudioPlayerDriver> {
 public:
  AudioPlayer& player() override { return player_; }

 private:
  RecordingAudioPlayer player_{queue_};
};

// Any file is a movie to the recording playback.
class RecordingVideoDriver : public VirtualTime<VideoPlaybackDriver> {
 public:
  VideoPlayback& playback() override { return playback_; }
  std::string movie(int seconds) override {
    const auto path = folder_.path() / (std::to_string(seconds) + ".mov");
    std::ofstream(path) << "movie";
    return path.string();
  }
  void closeByPerson() override { playback_.close(); }

 private:
  TemporaryTree folder_{"quorvel-playback"};
  RecordingVideoPlayback playback_{queue_};
};

QUORVEL_AUDIO_PLAYER_CONTRACT_TESTS()
QUORVEL_VIDEO_PLAYBACK_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioPlayerContract,
                         ::testing::Values(AudioPlayerImplementation{
                             "Recording", [] { return std::make_unique<RecordingAudioDriver>(); }}),
                         nameOfImplementation);
INSTANTIATE_TEST_SUITE_P(Implementations, VideoPlaybackContract,
                         ::testing::Values(VideoPlaybackImplementation{
                             "Recording", [] { return std::make_unique<RecordingVideoDriver>(); }}),
                         nameOfImplementation);

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

// The test platform's recorder, on virtual time.
class ScriptedDriver : public AudioRecorderDriver {
 public:
  AudioRecorder& recorder() override { return recorder_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void run(double seconds) override { queue_->advance(seconds); }

 private:
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
  ScriptedAudioRecorder recorder_{queue_};
};

QUORVEL_AUDIO_RECORDER_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioRecorderContract,
                         ::testing::Values(AudioRecorderImplementation{
                             "Scripted", [] { return std::make_unique<ScriptedDriver>(); }}),
                         nameOfImplementation);

// The session of systems without a mixer to read: whoever sees the keys tells it the level.
class TrackedDriver : public AudioSessionDriver {
 public:
  AudioSession& session() override { return session_; }
  void systemSetsVolume(float level) override { session_.outputVolumeDidChange(level); }

 private:
  TrackedAudioSession session_{0.5f};
};

QUORVEL_AUDIO_SESSION_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioSessionContract,
                         ::testing::Values(AudioSessionImplementation{
                             "Tracked", [] { return std::make_unique<TrackedDriver>(); }}),
                         nameOfImplementation);

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
