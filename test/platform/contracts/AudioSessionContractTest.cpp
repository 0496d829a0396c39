#include "platform/contracts/AudioSessionContract.h"
#include "quorvel/platform/TrackedAudioSession.h"

namespace quorvel::testing {
namespace {

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

}  // namespace
}  // namespace quorvel::testing
