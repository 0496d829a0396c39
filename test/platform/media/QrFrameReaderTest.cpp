#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "media/QrFrameReader.h"
#include "support/GreyPicture.h"
#include "support/ManualMainQueue.h"

namespace quorvel::testing {
namespace {

// A frame showing text as a code, made on the reader's thread as a camera's would be.
QrFrameReader::Frame frameShowing(const std::string& text) {
  return [text] {
    auto picture = std::make_shared<GreyPicture>(640, 480);
    picture->drawCode(text, 100, 40, 8);
    return QrFrameReader::Grey{picture, picture->pixels.data(), picture->width, picture->height,
                               picture->rowStride};
  };
}

// A frame that shows nothing.
QrFrameReader::Frame blank() {
  return [] { return QrFrameReader::Grey{}; };
}

class QrFrameReaderTest : public ::testing::Test {
 protected:
  // Offers frame until the reader takes it (it drops frames while busy).
  void hand(QrFrameReader& reader, const QrFrameReader::Frame& frame) {
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
  std::vector<std::vector<std::string>> reports;
  int offQueue = 0;
  QrFrameReader::CodesRead record = [this](const std::vector<std::string>& codes) {
    if (!queue->isCurrent()) ++offQueue;
    reports.push_back(codes);
  };
};

TEST_F(QrFrameReaderTest, ReportsTheCodesOfAFrameOnTheMainQueue) {
  QrFrameReader reader(queue, record);
  hand(reader, blank());
  hand(reader, frameShowing("QRVL:frame"));
  runUntilReported();
  EXPECT_EQ(reports, (std::vector<std::vector<std::string>>{{"QRVL:frame"}}))
      << "a frame without codes is not reported";
  EXPECT_EQ(offQueue, 0);
}

TEST_F(QrFrameReaderTest, DropsFramesWhileItReadsOne) {
  QrFrameReader reader(queue, record);
  std::promise<void> release;
  std::promise<void> started;
  auto held = release.get_future().share();
  ASSERT_TRUE(reader.offer([&started, held] {
    started.set_value();
    held.wait();
    return QrFrameReader::Grey{};
  }));
  started.get_future().wait();
  EXPECT_FALSE(reader.offer(frameShowing("dropped")));
  release.set_value();
  hand(reader, frameShowing("kept"));
  runUntilReported();
  EXPECT_EQ(reports, (std::vector<std::vector<std::string>>{{"kept"}}));
}

TEST_F(QrFrameReaderTest, NothingArrivesAfterStopNotEvenCodesAlreadyRead) {
  auto reader = std::make_unique<QrFrameReader>(queue, record);
  hand(*reader, frameShowing("late"));
  hand(*reader, blank());  // taken only once the first frame's codes are on the queue
  reader->stop();
  EXPECT_FALSE(reader->offer(frameShowing("after")));
  queue->runUntilIdle();
  EXPECT_TRUE(reports.empty());

  // Codes waiting on the queue when the reader goes are dropped too, safely.
  auto gone = std::make_unique<QrFrameReader>(queue, record);
  hand(*gone, frameShowing("gone"));
  hand(*gone, blank());
  gone.reset();
  queue->runUntilIdle();
  EXPECT_TRUE(reports.empty());
}

}  // namespace
}  // namespace quorvel::testing
