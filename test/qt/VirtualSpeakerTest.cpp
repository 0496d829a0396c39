#include <gtest/gtest.h>

#include <QTest>
#include <cmath>

#include "quorvel/virtual/VirtualMicrophone.h"
#include "quorvel/virtual/VirtualRoom.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "support/MovieProbe.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

constexpr int kRate = VirtualRoom::kSampleRate;

// A room on a clock the test moves.
struct QuietRoom {
  double seconds = 0;
  std::shared_ptr<VirtualRoom> room = std::make_shared<VirtualRoom>([this] { return seconds; });
  VirtualMicrophone microphone{room};
};

std::shared_ptr<const std::vector<std::int16_t>> constant(std::int16_t value, double seconds) {
  return std::make_shared<const std::vector<std::int16_t>>(
      static_cast<std::size_t>(seconds * kRate), value);
}

TEST(VirtualRoom, MixesItsSoundsOnOneTimelineWithSilenceElsewhere) {
  QuietRoom quiet;
  quiet.seconds = 1;
  quiet.room->play(constant(10000, 1));
  quiet.seconds = 1.5;
  const auto second = quiet.room->play(constant(30000, 1));
  quiet.seconds = 2.25;
  quiet.room->cut(second);
  quiet.seconds = 3;
  const auto heard = quiet.microphone.take();
  ASSERT_EQ(heard.size(), 3u * kRate);
  auto at = [&](double seconds) { return heard[static_cast<std::size_t>(seconds * kRate)]; };
  EXPECT_EQ(at(0.5), 0);
  EXPECT_EQ(at(1.2), 10000);
  EXPECT_EQ(at(1.7), 32767) << "loud sounds add up and clip";
  EXPECT_EQ(at(2.1), 30000);
  EXPECT_EQ(at(2.3), 0) << "a cut sound ends where it was cut";
  // A microphone hears from its start on, and each sample once.
  VirtualMicrophone late(quiet.room);
  EXPECT_DOUBLE_EQ(late.startedAt(), 3);
  quiet.seconds = 3.5;
  EXPECT_EQ(late.take().size(), static_cast<std::size_t>(kRate / 2));
  EXPECT_EQ(late.take().size(), 0u);
}

// The real player, doing nothing but remembering what it was asked.
class RememberingPlayer : public AudioPlayer {
 public:
  void playAsset(const std::string& name, std::function<void(bool)> done) override {
    played.push_back(name);
    finished = std::move(done);
  }
  void playFile(const std::string& path, std::function<void(bool)> done) override {
    played.push_back(path);
    finished = std::move(done);
  }
  void stop() override { ++stops; }
  double currentTime() const override { return 0.25; }

  std::vector<std::string> played;
  std::function<void(bool)> finished;
  int stops = 0;
};

TEST(VirtualSpeaker, PlaysThroughTheRealPlayerAndIntoTheRoomUntilTheSoundEnds) {
  QuietRoom quiet;
  auto player = std::make_shared<RememberingPlayer>();
  VirtualSpeaker speaker{player, quiet.room};
  TemporaryTree tree("quorvel-speaker");
  const std::string tone = (tree.path() / "tone.wav").string();
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i sine=frequency=500:sample_rate=44100:duration=5"
            " -c:a pcm_s16le -y " +
            tone));
  std::vector<bool> outcomes;
  speaker.playAsset("beep", [&](bool ok) { outcomes.push_back(ok); });
  EXPECT_DOUBLE_EQ(speaker.currentTime(), 0.25);
  // A player without a sound device may say it is done early: the beep still has its 0.2 s.
  quiet.seconds = 0.1;
  player->finished(true);
  EXPECT_TRUE(outcomes.empty());
  EXPECT_TRUE(QTest::qWaitFor([&] { return !outcomes.empty(); }, 2000));
  EXPECT_EQ(outcomes, std::vector<bool>{true});
  quiet.seconds = 1;
  speaker.playFile(tone, nullptr);
  quiet.seconds = 2;
  speaker.playFile(tone, nullptr);  // the first stops, the second starts
  quiet.seconds = 3;
  speaker.stop();
  EXPECT_EQ(player->stops, 1);
  quiet.seconds = 4;
  speaker.playFile(tone, nullptr);
  quiet.seconds = 4.5;
  player->finished(false);  // the real speaker could not play it
  quiet.seconds = 5;
  speaker.playAsset("no-such-sound", nullptr);
  quiet.seconds = 6;
  EXPECT_EQ(player->played, (std::vector<std::string>{"beep", tone, tone, tone, "no-such-sound"}))
      << "the real player answers for every sound";

  const auto heard = quiet.microphone.take();
  // The 0.2 s beep, resampled from 44,100 Hz, sounds from the moment it was played.
  EXPECT_GT(loudness(heard, kRate, 0.01, 0.19), 0.2);
  EXPECT_LT(loudness(heard, kRate, 0.21, 0.99), 0.001);
  const double one = loudness(heard, kRate, 1.1, 1.9);
  EXPECT_GT(one, 0.05);
  EXPECT_NEAR(loudness(heard, kRate, 2.1, 2.9), one, 0.01)
      << "the first sound went on beside the second";
  EXPECT_LT(loudness(heard, kRate, 3.01, 3.99), 0.001) << "stop left the sound on";
  EXPECT_GT(loudness(heard, kRate, 4.1, 4.4), 0.05);
  EXPECT_LT(loudness(heard, kRate, 4.51, 6), 0.001) << "a failed sound went on in the room";
}

}  // namespace
}  // namespace quorvel::testing
