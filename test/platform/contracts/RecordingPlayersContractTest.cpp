#include <fstream>

#include "platform/contracts/AudioPlayerContract.h"
#include "platform/contracts/VideoPlaybackContract.h"
#include "support/ManualMainQueue.h"
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

}  // namespace
}  // namespace quorvel::testing
