// The virtual recorder against the recorder contract. What it writes, real AAC of what the room
// heard, is checked through the sound screens in ScreensAloneTest.
#include <QTest>

#include "platform/contracts/AudioRecorderContract.h"
#include "qt/QtMainQueue.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"

namespace quorvel::testing {
namespace {

class VirtualDriver : public AudioRecorderDriver {
 public:
  AudioRecorder& recorder() override { return recorder_; }
  std::shared_ptr<MainQueue> queue() override { return queue_; }
  void run(double seconds) override { QTest::qWait(static_cast<int>(seconds * 1000)); }

  std::shared_ptr<VirtualRoom> room = std::make_shared<VirtualRoom>();

 private:
  std::shared_ptr<QtMainQueue> queue_ = std::make_shared<QtMainQueue>();
  VirtualAudioRecorder recorder_{room, queue_};
};

QUORVEL_AUDIO_RECORDER_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, AudioRecorderContract,
                         ::testing::Values(AudioRecorderImplementation{
                             "Virtual", [] { return std::make_unique<VirtualDriver>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
