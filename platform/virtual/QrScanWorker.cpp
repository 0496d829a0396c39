#include "QrScanWorker.h"

#include "media/QrCodeReader.h"

namespace quorvel {

QrScanWorker::QrScanWorker(std::function<void(const std::vector<std::string>&)> found)
    : found_(std::move(found)), thread_([this] { run(); }) {}

QrScanWorker::~QrScanWorker() {
  {
    std::lock_guard lock(mutex_);
    quit_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

bool QrScanWorker::offer(QImage picture) {
  {
    std::lock_guard lock(mutex_);
    if (busy_ || next_ || quit_) return false;
    next_ = std::move(picture);
  }
  wake_.notify_one();
  return true;
}

void QrScanWorker::run() {
  for (;;) {
    QImage picture;
    {
      std::unique_lock lock(mutex_);
      busy_ = false;
      wake_.wait(lock, [this] { return quit_ || next_; });
      if (quit_) return;
      picture = std::move(*next_);
      next_.reset();
      busy_ = true;
    }
    // Grey here rather than on the GUI thread, which only films.
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    const auto codes = QrCodeReader::read(grey.constBits(), grey.width(), grey.height(),
                                          static_cast<int>(grey.bytesPerLine()));
    if (!codes.empty()) found_(codes);
  }
}

}  // namespace quorvel
