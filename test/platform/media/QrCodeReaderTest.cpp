#include <gtest/gtest.h>

#include <future>
#include <random>
#include <thread>

#include "media/QrCodeReader.h"
#include "media/QrFrameReader.h"
#include "support/GreyPicture.h"
#include "support/ManualMainQueue.h"

namespace quorvel::testing {
namespace {

using Texts = std::vector<std::string>;

Texts read(const GreyPicture& picture) {
  return QrCodeReader::read(picture.pixels.data(), picture.width, picture.height,
                            picture.rowStride);
}

TEST(QrCodeReader, ReadsEveryCodeInViewStraightAndMirroredAsUtf8Text) {
  // The start code as the video test shows it (55 bytes, version 4), in a camera frame whose rows
  // are padded past the picture: the padding must not be read.
  const std::string start = "QRVL:START:0f8fad5b-d9cb-469f-a165-70867728950e:1709287";
  GreyPicture picture(1280, 720, 1344, 128);
  picture.drawCode(start, 400, 100);
  for (std::size_t row = 0; row < 720; ++row) {
    std::fill_n(picture.pixels.begin() + static_cast<long>(row * 1344 + 1280), 64, 0);
  }
  EXPECT_EQ(read(picture), Texts{start});
  picture.mirror();
  EXPECT_EQ(read(picture), Texts{start});
  // A code that zxing's own mirrored reading misses: seen in the mirror, the video test's end
  // code once went unread for good.
  const std::string end =
      "end;vendorID=6B418179-9B80-48AF-8040-C0B9203F3AD5;2026-11-25T12:06:44.710+0000";
  GreyPicture seen(640, 640, 0, 255);
  seen.drawCode(end, 40, 40, 12);
  seen.mirror();
  EXPECT_EQ(read(seen), Texts{end});

  GreyPicture two(1280, 720, 0, 200);
  two.drawCode("Ação nº 1", 40, 40, 10);
  two.drawCode("second", 700, 300, 10);
  auto texts = read(two);
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts, (Texts{"Ação nº 1", "second"}));
}

TEST(QrCodeReader, FindsNothingWithoutACode) {
  GreyPicture noise(640, 480);
  std::mt19937 random(7);
  for (auto& pixel : noise.pixels) pixel = static_cast<std::uint8_t>(random() % 256);
  EXPECT_TRUE(read(noise).empty());
  EXPECT_TRUE(read(GreyPicture(640, 480)).empty());
  // A stride shorter than a row is not a picture.
  GreyPicture code(400, 400);
  code.drawCode("x", 0, 0, 10);
  EXPECT_TRUE(QrCodeReader::read(code.pixels.data(), 400, 400, 399).empty());
}

// A frame showing text as a code (nothing when text is empty), made on the reader's thread as a
// camera's would be.
QrFrameReader::Frame frame(const std::string& text = "") {
  return [text] {
    if (text.empty()) return QrFrameReader::Grey{};
    auto picture = std::make_shared<GreyPicture>(640, 480);
    picture->drawCode(text, 100, 40, 8);
    return QrFrameReader::Grey{picture, picture->pixels.data(), picture->width, picture->height,
                               picture->rowStride};
  };
}

// That the codes come on the main queue is the camera contract's check: the mirror camera reads
// through this reader.
class QrFrameReaderTest : public ::testing::Test {
 protected:
  // Offers frame until the reader takes it (it drops frames while busy).
  static void hand(QrFrameReader& reader, const QrFrameReader::Frame& frame) {
    for (int i = 0; i < 5000 && !reader.offer(frame); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  // Runs the queue until codes arrive or the reader has long been done.
  void runUntilReported() {
    for (int i = 0; i < 5000 && reports.empty(); ++i) {
      queue->runUntilIdle();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  std::shared_ptr<ManualMainQueue> queue = std::make_shared<ManualMainQueue>();
  std::vector<Texts> reports;
  QrFrameReader::CodesRead record = [this](const Texts& codes) { reports.push_back(codes); };
};

TEST_F(QrFrameReaderTest, ReportsTheCodesOfAFrameDroppingFramesWhileBusy) {
  QrFrameReader reader(queue, record);
  std::promise<void> release, started;
  auto held = release.get_future().share();
  ASSERT_TRUE(reader.offer([&started, held] {
    started.set_value();
    held.wait();
    return QrFrameReader::Grey{};
  }));
  started.get_future().wait();
  EXPECT_FALSE(reader.offer(frame("dropped")));
  release.set_value();
  hand(reader, frame("kept"));
  runUntilReported();
  EXPECT_EQ(reports, std::vector<Texts>{{"kept"}}) << "a frame without codes is not reported";
}

TEST_F(QrFrameReaderTest, NothingArrivesAfterStopNotEvenCodesAlreadyRead) {
  auto reader = std::make_unique<QrFrameReader>(queue, record);
  hand(*reader, frame("late"));
  hand(*reader, frame());  // taken only once the first frame's codes are on the queue
  reader->stop();
  EXPECT_FALSE(reader->offer(frame("after")));
  // Codes waiting on the queue when the reader goes are dropped too, safely.
  auto gone = std::make_unique<QrFrameReader>(queue, record);
  hand(*gone, frame("gone"));
  hand(*gone, frame());
  gone.reset();
  queue->runUntilIdle();
  EXPECT_TRUE(reports.empty());
}

}  // namespace
}  // namespace quorvel::testing
