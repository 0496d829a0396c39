#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "PictureWindow.h"
#include "qt/QtMainQueue.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "support/MovieProbe.h"
#include "support/ScriptedMedia.h"
#include "support/SoundDecoder.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

class VirtualMirrorCameraTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Platform p = platform();
    p.mainQueue = std::make_shared<QtMainQueue>();
    installPlatform(p);
  }
  void TearDown() override { installPlatform(makeDefaultPlatform()); }

  // Each recording's outcome; when and how often it comes is the camera contract's.
  std::optional<std::optional<std::string>> finished;
  std::function<void(std::optional<std::string>)> into() {
    return [this](std::optional<std::string> error) { finished = std::move(error); };
  }

  TemporaryTree tree{"quorvel-mirror"};
  std::shared_ptr<VirtualRoom> room = std::make_shared<VirtualRoom>();
};

TEST_F(VirtualMirrorCameraTest, FrontEndPreviewsShowTheWindowAsAMirrorDoesUntilTheSessionEnds) {
  PictureWindow window({300, 200});
  window.showHalves(Qt::red, Qt::blue);
  auto camera = std::make_shared<VirtualMirrorCamera>(&window, room);
  QuickFrontEnd frontEnd;
  frontEnd.useCamera(camera, camera);
  auto session = camera->startCapture(false);
  ASSERT_TRUE(session);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !frontEnd.cameraPicture().isNull(); }, 10000));
  const QImage picture = frontEnd.cameraPicture();
  EXPECT_EQ(picture.size(), window.grabWindow().size());
  EXPECT_EQ(picture.pixelColor(20, 100).name(), "#0000ff") << "the left is the window's right";
  EXPECT_EQ(picture.pixelColor(280, 100).name(), "#ff0000");

  // The preview hears that the picture is gone.
  QSignalSpy changes(&frontEnd, &QuickFrontEnd::cameraPictureChanged);
  session->stop();
  EXPECT_TRUE(frontEnd.cameraPicture().isNull());
  EXPECT_EQ(changes.count(), 1);
  // Scanning shows nothing.
  auto scanning = camera->startScanning([](const std::vector<std::string>&) {});
  QTest::qWait(300);
  EXPECT_TRUE(frontEnd.cameraPicture().isNull());
}

TEST_F(VirtualMirrorCameraTest, RecordsTheWindowWithTheSoundThatWasPlayedInTheRoom) {
  // A tall window: the movie keeps its shape at 1280 on the long side, in even sizes.
  PictureWindow window({401, 1500});
  window.showHalves(Qt::white, Qt::black);
  VirtualMirrorCamera camera(&window, room);
  // The real player's part is played by nobody.
  VirtualSpeaker speaker(std::make_shared<RecordingAudioPlayer>(platform().mainQueue), room);
  auto session = camera.startCapture(true);
  ASSERT_TRUE(session);
  ASSERT_TRUE(QTest::qWaitFor([&] { return !camera.picture().isNull(); }, 10000));

  const std::string movie = (tree.path() / "output.mov").string();
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
  EXPECT_GE(video->packetTimes.size(), 10u) << "fewer than 5 frames a second";

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
  const std::string movie = (tree.path() / "closing.mov").string();
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
