#include <fstream>

#include "platform/contracts/VideoPlaybackContract.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The test platform's playback, on virtual time; any file is a movie to it.
class RecordingDriver : public VideoPlaybackDriver {
 public:
  VideoPlayback& playback() override { return playback_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  std::string movie(int seconds) override {
    const auto path = folder_.path() / (std::to_string(seconds) + ".mov");
    std::ofstream(path) << "movie";
    return path.string();
  }
  void closeByPerson() override { playback_.close(); }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) queue_->advance(0.1);
    return done();
  }
  void settle() override { queue_->advance(5); }

 private:
  TemporaryTree folder_{"quorvel-playback"};
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
  RecordingVideoPlayback playback_{queue_};
};

QUORVEL_VIDEO_PLAYBACK_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, VideoPlaybackContract,
                         ::testing::Values(VideoPlaybackImplementation{
                             "Recording", [] { return std::make_unique<RecordingDriver>(); }}),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace quorvel::testing
