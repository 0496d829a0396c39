#include <QTest>

#include "platform/contracts/AudioPlayerContract.h"
#include "qt/QtAudioPlayer.h"
#include "qt/QtMainQueue.h"

namespace quorvel::testing {
namespace {

// The Qt player on the GUI thread's queue, in real time.
class QtDriver : public AudioPlayerDriver {
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
                             "Qt", [] { return std::make_unique<QtDriver>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
