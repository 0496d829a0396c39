// The virtual room: its sounds mixed on one timeline for its microphones, the speaker that plays
// into it through the real player, and the mirror camera that films a window with its sound.
#include <cmath>

#include "PictureWindow.h"
#include "QuickFixture.h"
#include "quorvel/virtual/VirtualMicrophone.h"
#include "quorvel/virtual/VirtualRoom.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "support/MovieProbe.h"
#include "support/ScriptedMedia.h"
#include "support/SoundDecoder.h"

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

// Where a sound lies on the timeline, a cut, a microphone's start and its taking each sample once
// are heard through the speaker (VirtualSpeaker below, VirtualMirrorCameraTest, the sound screens
// in ScreensAloneTest); what only a room's mix shows is that loud sounds add up and clip.
TEST(VirtualRoom, OverlappingSoundsAddUpAndClip) {
  QuietRoom quiet;
  quiet.room->play(constant(10000, 1));
  quiet.seconds = 0.5;
  quiet.room->play(constant(30000, 1));
  quiet.seconds = 1;
  const auto heard = quiet.microphone.take();
  ASSERT_EQ(heard.size(), std::size_t{kRate});
  EXPECT_EQ(heard[kRate / 4], 10000);
  EXPECT_EQ(heard[kRate * 3 / 4], 32767);
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

// On the front end's ports: the GUI thread's queue.
class VirtualMirrorCameraTest : public QuickFixture {
 protected:
  // Each recording's outcome; when and how often it comes is the camera contract's.
  std::optional<std::optional<std::string>> finished;
  std::function<void(std::optional<std::string>)> into() {
    return [this](std::optional<std::string> error) { finished = std::move(error); };
  }

  std::shared_ptr<VirtualRoom> room = std::make_shared<VirtualRoom>();
};

TEST_F(VirtualMirrorCameraTest, RecordsTheWindowWithTheSoundThatWasPlayedInTheRoom) {
  // A tall window: the movie keeps its shape at 1280 on the long side, in even sizes.
  PictureWindow window({401, 1500});
  window.showCode("QRVL:recording");
  VirtualMirrorCamera camera(&window, room);
  // The real player's part is played by nobody.
  VirtualSpeaker speaker(std::make_shared<RecordingAudioPlayer>(platform().mainQueue), room);
  auto session = camera.startCapture(true);
  ASSERT_TRUE(session);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !camera.picture().isNull(); }, 10000));

  const std::string movie = (documents->path() / "output.mov").string();
  ASSERT_TRUE(session->startRecording(movie, into()));
  const double start = room->now();
  QTest::qWait(600);
  const double beep = room->now() - start;
  speaker.playAsset("beep", nullptr);
  QTest::qWait(1400);
  session->stopRecording();
  const double length = room->now() - start;
  ASSERT_TRUE(QTest::qWaitFor([&] { return finished.has_value(); }, 10000));
  EXPECT_EQ(*finished, std::nullopt);

  auto probed = probeMovie(movie);
  ASSERT_TRUE(probed);
  const ProbedStream* video = probed->first("h264");
  const ProbedStream* audio = probed->first("aac");
  ASSERT_TRUE(video && audio);
  EXPECT_EQ(video->width, 342);
  EXPECT_EQ(video->height, 1280);
  EXPECT_NEAR(video->seconds, length, 0.2);
  EXPECT_NEAR(audio->seconds, length, 0.1);
  // Moving pictures, not a still; how many a second a busy machine gives is the bench's to say.
  EXPECT_GE(video->packetTimes.size(), 6u) << "fewer than 3 frames a second";

  auto sound = SoundDecoder::decodeFile(movie, VirtualRoom::kSampleRate);
  ASSERT_TRUE(sound);
  const int rate = VirtualRoom::kSampleRate;
  EXPECT_LT(loudness(*sound, rate, 0, beep - 0.05), 0.01);
  EXPECT_GT(loudness(*sound, rate, beep + 0.03, beep + 0.17), 0.1) << "the beep is not there";
  EXPECT_LT(loudness(*sound, rate, beep + 0.3, length), 0.01);
}

TEST_F(VirtualMirrorCameraTest, DestroyingTheCameraMidRecordingClosesTheMovie) {
  PictureWindow window;
  window.showCode("QRVL:closing");
  const std::string movie = (documents->path() / "closing.mov").string();
  std::shared_ptr<CameraSession> session;
  {
    VirtualMirrorCamera camera(&window, room);
    session = camera.startCapture(true);
    ASSERT_TRUE(session && session->startRecording(movie, into()));
    QTest::qWait(300);
  }
  EXPECT_FALSE(session->startRecording(movie, into())) << "the session ended";
  ASSERT_TRUE(QTest::qWaitFor([&] { return finished.has_value(); }, 10000));
  EXPECT_EQ(*finished, std::nullopt);
  auto probed = probeMovie(movie);
  EXPECT_TRUE(probed && probed->first("h264"));

  // A scanning session's reader thread ends with the camera, too.
  auto scanning = std::make_unique<VirtualMirrorCamera>(&window, room);
  int reads = 0;
  auto scan = scanning->startScanning([&](const std::vector<std::string>&) { ++reads; });
  ASSERT_TRUE(QTest::qWaitFor([&] { return reads > 0; }, 10000));
  scanning.reset();
  const int before = reads;
  QTest::qWait(300);
  EXPECT_EQ(reads, before);
}

}  // namespace
}  // namespace quorvel::testing
