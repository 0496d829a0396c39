#include "media/QrFrameReader.h"

#include <atomic>

#include "media/QrCodeReader.h"
#include "quorvel/Fatal.h"

namespace quorvel {

// Shared with the reports waiting on the main queue, which may outlive the reader.
struct QrFrameReader::Reports {
  std::shared_ptr<MainQueue> mainQueue;
  CodesRead codesRead;
  std::atomic<bool> stopped{false};
};

QrFrameReader::QrFrameReader(std::shared_ptr<MainQueue> mainQueue, CodesRead codesRead)
    : reports_(std::make_shared<Reports>()) {
  if (!mainQueue) QUORVEL_FATAL("the QR frame reader needs a main queue");
  reports_->mainQueue = std::move(mainQueue);
  reports_->codesRead = std::move(codesRead);
  thread_ = std::thread([this] { run(); });
}

QrFrameReader::~QrFrameReader() {
  stop();
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void QrFrameReader::stop() { reports_->stopped = true; }

bool QrFrameReader::offer(Frame frame) {
  {
    std::lock_guard lock(mutex_);
    if (reports_->stopped || busy_ || next_ || quit_ || !frame) return false;
    next_ = std::move(frame);
  }
  wake_.notify_one();
  return true;
}

void QrFrameReader::run() {
  for (;;) {
    Frame frame;
    {
      std::unique_lock lock(mutex_);
      busy_ = false;
      wake_.wait(lock, [this] { return quit_ || next_; });
      if (quit_) return;
      frame = std::move(next_);
      next_ = nullptr;
      busy_ = true;
    }
    const Grey grey = frame();
    frame = nullptr;  // lets the camera's frame go before the codes are read
    if (grey.bytes == nullptr) continue;
    std::vector<std::string> codes =
        QrCodeReader::read(grey.bytes, grey.width, grey.height, grey.rowStride);
    if (codes.empty() || reports_->stopped) continue;
    reports_->mainQueue->async([reports = reports_, codes = std::move(codes)] {
      if (!reports->stopped) reports->codesRead(codes);
    });
  }
}

}  // namespace quorvel
