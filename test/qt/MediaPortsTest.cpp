// The Qt front end's media ports on this machine: the sound player plays the SDK's cue sounds to
// their end through Qt Multimedia, the camera answers "no camera" from the device list alone, a
// camera frame's luminance comes out right whatever the frame's layout, and the codes in frames
// reach the main queue until the reader stops.
#include <QFile>
#include <QVideoFrame>
#include <QVideoFrameFormat>
#include <cstring>
#include <functional>

#include "QuickFixture.h"
#include "qt/QtCamera.h"
#include "qt/QtLuminance.h"
#include "support/PlatformSlots.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

class MediaPortsTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    Platform logged = platform();
    logged.log = log;
    installPlatform(logged);
    player = frontEnd->platform().audioPlayer;
  }

  // Collects each play's outcome as "name:true" in the order they arrive, and whether it arrived
  // on the main queue.
  std::function<void(bool)> outcome(const std::string& name) {
    return [this, name](bool successfully) {
      offQueue = offQueue || !platform().mainQueue->isCurrent();
      outcomes.push_back(name + (successfully ? ":true" : ":false"));
    };
  }
  bool outcomesReach(std::size_t count) {
    return waitFor([&] { return outcomes.size() >= count; });
  }

  std::shared_ptr<CapturingLog> log = std::make_shared<CapturingLog>();
  std::shared_ptr<AudioPlayer> player;
  std::vector<std::string> outcomes;
  bool offQueue = false;
};

TEST_F(MediaPortsTest, TheFrontEndFillsEveryPort) {
  EXPECT_EQ(emptySlots(frontEnd->platform()), std::vector<std::string>{});
}

// What every player does is the contract's (AudioPlayerContract); here, files and the log.
TEST_F(MediaPortsTest, ASoundFilePlaysToItsEndAndAMissingAssetIsLogged) {
  const QString file = QString::fromStdString((documents->path() / "cue.wav").string());
  ASSERT_TRUE(QFile::copy(":/Quorvel/sounds/beep.wav", file));
  player->playFile(file.toStdString(), outcome("file"));
  player->playAsset("no_such_sound", outcome("missing"));
  ASSERT_TRUE(outcomesReach(2));
  EXPECT_EQ(outcomes, (std::vector<std::string>{"file:false", "missing:false"}));
  player->playFile(file.toStdString(), outcome("file"));
  ASSERT_TRUE(outcomesReach(3));
  EXPECT_EQ(outcomes[2], "file:true");
  const auto lines = log->lines();
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Zephyn Log: no sound asset no_such_sound"),
            lines.end());
}

TEST_F(MediaPortsTest, WithoutACameraNeitherSessionKindStarts) {
  if (QtCamera::frontCamera()) GTEST_SKIP() << "this machine has a camera";
  auto camera = frontEnd->platform().camera;
  EXPECT_EQ(camera->startScanning([](const std::vector<std::string>&) {}), nullptr);
  EXPECT_EQ(camera->startCapture(true), nullptr);
  EXPECT_EQ(camera->startCapture(false), nullptr);
  EXPECT_TRUE(frontEnd->cameraPicture().isNull());
}

// A grey level per pixel that differs along both axes, so a wrong stride or step shows.
uchar level(int x, int y) { return static_cast<uchar>((x * 37 + y * 11) % 256); }

struct FrameLayout {
  const char* name;
  QVideoFrameFormat::PixelFormat format;
  // Writes the luminance level(x, y) of row y into the frame's first plane.
  std::function<void(uchar* row, int width, int y)> writeRow;
};

TEST(QtLuminance, ReadsTheLuminanceOfEachFrameLayout) {
  const FrameLayout layouts[] = {
      {"NV12", QVideoFrameFormat::Format_NV12,
       [](uchar* row, int width, int y) {
         for (int x = 0; x < width; ++x) row[x] = level(x, y);
       }},
      {"YUYV", QVideoFrameFormat::Format_YUYV,
       [](uchar* row, int width, int y) {
         for (int x = 0; x < width; ++x) {
           row[2 * x] = level(x, y);
           row[2 * x + 1] = 128;
         }
       }},
      {"UYVY", QVideoFrameFormat::Format_UYVY,
       [](uchar* row, int width, int y) {
         for (int x = 0; x < width; ++x) {
           row[2 * x] = 128;
           row[2 * x + 1] = level(x, y);
         }
       }},
      {"P010", QVideoFrameFormat::Format_P010,
       [](uchar* row, int width, int y) {
         for (int x = 0; x < width; ++x) {
           row[2 * x] = 0xC0;  // the low bits, which a reader of the high byte ignores
           row[2 * x + 1] = level(x, y);
         }
       }},
      {"BGRA8888", QVideoFrameFormat::Format_BGRA8888,
       [](uchar* row, int width, int y) {
         for (int x = 0; x < width; ++x) {
           row[4 * x] = row[4 * x + 1] = row[4 * x + 2] = level(x, y);
           row[4 * x + 3] = 255;
         }
       }},
  };
  const int width = 10;
  const int height = 6;
  for (const auto& layout : layouts) {
    SCOPED_TRACE(layout.name);
    QVideoFrame frame(QVideoFrameFormat(QSize(width, height), layout.format));
    ASSERT_TRUE(frame.map(QVideoFrame::WriteOnly));
    for (int y = 0; y < height; ++y) {
      layout.writeRow(frame.bits(0) + y * frame.bytesPerLine(0), width, y);
    }
    frame.unmap();

    const QImage grey = QtLuminance::of(frame);
    ASSERT_EQ(grey.format(), QImage::Format_Grayscale8);
    ASSERT_EQ(grey.size(), QSize(width, height));
    int wrong = 0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) wrong += grey.constScanLine(y)[x] != level(x, y);
    }
    EXPECT_EQ(wrong, 0);
  }
  EXPECT_TRUE(QtLuminance::of(QVideoFrame()).isNull());
}

}  // namespace
}  // namespace quorvel::testing
