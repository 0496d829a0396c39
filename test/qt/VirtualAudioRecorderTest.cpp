// The virtual recorder against the recorder contract, and what it writes: real AAC of what the
// room heard.
#include <QTest>
#include <cmath>

#include "platform/contracts/AudioRecorderContract.h"
#include "qt/QtMainQueue.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "support/MovieProbe.h"
#include "support/SoundDecoder.h"

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

TEST(VirtualAudioRecorder, RecordsWhatTheRoomHeardAsAacAt12kHzMono) {
  VirtualDriver driver;
  TemporaryTree folder{"quorvel-virtual-recorder"};
  const std::string path = (folder.path() / "recording.m4a").string();
  bool ended = false;
  const double recordedFrom = driver.room->now();
  auto recording = driver.recorder().record(path, {}, [&](bool ok) { ended = ok; });
  ASSERT_NE(recording, nullptr);
  // Half a second of quiet, then a second of tone, then quiet again.
  driver.run(0.5);
  auto tone = std::make_shared<std::vector<std::int16_t>>(VirtualRoom::kSampleRate);
  for (std::size_t i = 0; i < tone->size(); ++i) {
    (*tone)[i] = static_cast<std::int16_t>(12000 * std::sin(2 * M_PI * 440 * i / 48000.0));
  }
  const double toneAt = driver.room->now() - recordedFrom;
  driver.room->play(tone);
  driver.run(1.5);
  recording->stop();
  ASSERT_TRUE(QTest::qWaitFor([&] { return ended; }, 5000));

  auto movie = probeMovie(path);
  ASSERT_TRUE(movie);
  ASSERT_EQ(movie->streams.size(), 1u);
  EXPECT_EQ(movie->streams[0].codec, "aac");
  EXPECT_EQ(movie->streams[0].sampleRate, 12000);
  EXPECT_NEAR(movie->streams[0].seconds, recording->currentTime(), 0.05);
  auto samples = SoundDecoder::decodeFile(path, 12000);
  ASSERT_TRUE(samples);
  EXPECT_LT(loudness(*samples, 12000, 0.05, toneAt - 0.1), 0.01);
  EXPECT_GT(loudness(*samples, 12000, toneAt + 0.1, toneAt + 0.9), 0.2);
  EXPECT_LT(loudness(*samples, 12000, toneAt + 1.1, movie->streams[0].seconds - 0.05), 0.01);
}

}  // namespace
}  // namespace quorvel::testing
