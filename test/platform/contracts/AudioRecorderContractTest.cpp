#include "platform/contracts/AudioRecorderContract.h"
#include "support/ManualMainQueue.h"
#include "support/ScriptedAudioRecorder.h"

namespace quorvel::testing {
namespace {

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

}  // namespace
}  // namespace quorvel::testing
