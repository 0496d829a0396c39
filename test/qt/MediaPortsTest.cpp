// The Qt front end's media ports on this machine: every port filled, a sound file played through
// Qt Multimedia, and sounds replaced and stopped under load; "no camera" from the device list
// alone, and a camera frame's luminance read right whatever the frame's layout.
#include <malloc.h>

#include <QElapsedTimer>
#include <QFile>
#include <QVideoFrame>
#include <QVideoFrameFormat>
#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "QuickFixture.h"
#include "qt/QtAudioPlayer.h"
#include "qt/QtCamera.h"
#include "qt/QtLuminance.h"
#include "qt/QtMainQueue.h"
#include "support/PlatformSlots.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

class MediaPortsTest : public QuickFixture {};

TEST_F(MediaPortsTest, TheFrontEndFillsEveryPort) {
  EXPECT_EQ(emptySlots(frontEnd->platform()), std::vector<std::string>{});
}

// What every player does is the contract's (AudioPlayerContract); here, a file played to its end
// and the log line of a missing asset.
TEST_F(MediaPortsTest, ASoundFilePlaysToItsEndAndAMissingAssetIsLogged) {
  auto log = std::make_shared<CapturingLog>();
  Platform logged = platform();
  logged.log = log;
  installPlatform(logged);
  const QString file = QString::fromStdString((documents->path() / "cue.wav").string());
  ASSERT_TRUE(QFile::copy(":/Quorvel/sounds/beep.wav", file));
  std::vector<bool> outcomes;
  auto player = frontEnd->platform().audioPlayer;
  player->playFile(file.toStdString(), [&](bool played) { outcomes.push_back(played); });
  ASSERT_TRUE(waitFor([&] { return !outcomes.empty(); }));
  player->playAsset("no_such_sound", [&](bool played) { outcomes.push_back(played); });
  ASSERT_TRUE(waitFor([&] { return outcomes.size() == 2; }));
  EXPECT_EQ(outcomes, (std::vector<bool>{true, false}));
  EXPECT_TRUE(log->contains("Zephyn Log: no sound asset no_such_sound"));
}

// With a camera, the mirror camera's contract run covers the sessions.
TEST_F(MediaPortsTest, WithoutACameraNeitherSessionKindStarts) {
  if (QtCamera::frontCamera()) GTEST_SKIP() << "this machine has a camera";
  auto camera = frontEnd->platform().camera;
  EXPECT_EQ(camera->startScanning([](const std::vector<std::string>&) {}), nullptr);
  EXPECT_EQ(camera->startCapture(true), nullptr);
  EXPECT_TRUE(frontEnd->cameraPicture().isNull());
}

// A grey level per pixel that differs along both axes, so a wrong stride or step shows.
uchar level(int x, int y) { return static_cast<uchar>((x * 37 + y * 11) % 256); }

TEST(QtLuminance, ReadsTheLuminanceOfEachFrameLayout) {
  // Bytes per pixel, where the luminance sits (NV12's and P010's first plane, packed 4:2:2, one
  // byte of each channel), and what fills the rest (P010's low bits, which a reader ignores).
  const struct {
    QVideoFrameFormat::PixelFormat format;
    int step;
    std::vector<int> luminance;
    uchar rest;
  } layouts[] = {{QVideoFrameFormat::Format_NV12, 1, {0}, 0},
                 {QVideoFrameFormat::Format_YUYV, 2, {0}, 128},
                 {QVideoFrameFormat::Format_UYVY, 2, {1}, 128},
                 {QVideoFrameFormat::Format_P010, 2, {1}, 0xC0},
                 {QVideoFrameFormat::Format_BGRA8888, 4, {0, 1, 2}, 255}};
  const int width = 10;
  const int height = 6;
  for (const auto& layout : layouts) {
    SCOPED_TRACE(QVideoFrameFormat::pixelFormatToString(layout.format).toStdString());
    QVideoFrame frame(QVideoFrameFormat(QSize(width, height), layout.format));
    ASSERT_TRUE(frame.map(QVideoFrame::WriteOnly));
    for (int y = 0; y < height; ++y) {
      uchar* row = frame.bits(0) + y * frame.bytesPerLine(0);
      std::fill(row, row + width * layout.step, layout.rest);
      for (int x = 0; x < width; ++x) {
        for (int at : layout.luminance) row[x * layout.step + at] = level(x, y);
      }
    }
    frame.unmap();

    const QImage grey = QtLuminance::of(frame);
    ASSERT_EQ(grey.format(), QImage::Format_Grayscale8);
    ASSERT_EQ(grey.size(), QSize(width, height));
    EXPECT_EQ(countPoints(grey.rect(),
                          [&](int x, int y) { return grey.constScanLine(y)[x] != level(x, y); }),
              0);
  }
  EXPECT_TRUE(QtLuminance::of(QVideoFrame()).isNull());
}

// Cores kept busy while the sounds play, as on a phone that updates or backs up during a check.
class BusyCores {
 public:
  explicit BusyCores(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      threads_.emplace_back([this] {
        volatile unsigned long spin = 0;
        while (!stop_) spin = spin + 1;
      });
    }
  }
  ~BusyCores() {
    stop_ = true;
    for (auto& thread : threads_) thread.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::vector<std::thread> threads_;
};

// Freed memory filled with a pattern while it lives, as a loaded process soon reuses it.
class PoisonedFrees {
 public:
  PoisonedFrees() { mallopt(M_PERTURB, 0xa5); }
  ~PoisonedFrees() { mallopt(M_PERTURB, 0); }
};

// Cues are replaced and stopped at every moment of their lives, by several players at once, as
// the screens do (the closing beep comes as the spoken steps end, a screen that leaves stops what
// plays). A Qt 6.4 GStreamer player that is destroyed with a sound loaded leaves its decoder's
// pad-removed handler connected, and its pipeline goes last, with its child video output: the
// decoder's pads are removed then and the handler reads the player's freed members. The process
// dies once that memory has been reused, which load makes likely and the poisoning here makes
// certain: a player released after each sound brings it down within seconds.
TEST(QtAudioPlayerUnderLoad, SoundsEndedReplacedAndStoppedAtAnyMomentNeverCrash) {
  PoisonedFrees poisoned;
  BusyCores busy(2);
  auto queue = std::make_shared<QtMainQueue>();
  std::mt19937 random(20261125);
  int seconds = qEnvironmentVariableIntValue("QUORVEL_PLAYER_SECONDS");
  if (seconds <= 0) seconds = 10;
  int answers = 0;
  int played = 0;
  {
    std::vector<std::unique_ptr<QtAudioPlayer>> players;
    for (int i = 0; i < 6; ++i) players.push_back(std::make_unique<QtAudioPlayer>(queue));
    const char* sounds[] = {"beep", "en-US-dog", "testfile"};
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < seconds * 1000) {
      auto& player = *players[random() % players.size()];
      if (random() % 4 == 0) {
        player.stop();
      } else {
        player.playAsset(sounds[random() % 3], [&](bool) { ++answers; });
        ++played;
      }
      QTest::qWait(static_cast<int>(random() % 120));
    }
    for (auto& player : players) player->stop();
    EXPECT_TRUE(QTest::qWaitFor([&] { return answers == played; }, 5000));
  }
  // Whatever the last sounds posted must find nothing to call.
  QTest::qWait(300);
  EXPECT_EQ(answers, played) << "every sound answers once, ended, stopped or replaced";
}

}  // namespace
}  // namespace quorvel::testing
