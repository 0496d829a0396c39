#include "platform/contracts/AudioPlayerContract.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedMedia.h"

namespace quorvel::testing {
namespace {

// The test platform's player, on virtual time.
class RecordingDriver : public AudioPlayerDriver {
 public:
  AudioPlayer& player() override { return player_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  bool runUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 100 && !done(); ++step) queue_->advance(0.1);
    return done();
  }
  void settle() override { queue_->advance(5); }

 private:
  std::shared_ptr<ManualMainQueue> queue_ = std::make_shared<ManualMainQueue>();
  RecordingAudioPlayer player_{queue_};
};

QUORVEL_AUDIO_PLAYER_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioPlayerContract,
                         ::testing::Values(AudioPlayerImplementation{
                             "Recording", [] { return std::make_unique<RecordingDriver>(); }}),
                         [](const auto& param) { return param.param.name; });

}  // namespace
}  // namespace quorvel::testing
