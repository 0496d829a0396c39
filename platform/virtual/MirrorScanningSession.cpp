#include "MirrorScanningSession.h"

namespace quorvel {

MirrorScanningSession::MirrorScanningSession(
    std::function<QQuickWindow*()> window,
    std::function<void(const std::vector<std::string>&)> codesRead,
    std::shared_ptr<MainQueue> mainQueue)
    : worker_(std::make_unique<QrScanWorker>(
          [codesRead = std::move(codesRead), mainQueue = std::move(mainQueue),
           running =
               std::weak_ptr<std::atomic<bool>>(running_)](const std::vector<std::string>& codes) {
            mainQueue->async([codesRead, running, codes] {
              auto alive = running.lock();
              if (alive && *alive) codesRead(codes);
            });
          })),
      film_(std::move(window), [this](const QImage& frame) {
        if (worker_) worker_->offer(frame);
      }) {
  film_.start();
}

MirrorScanningSession::~MirrorScanningSession() { stop(); }

void MirrorScanningSession::stop() {
  if (!*running_) return;
  *running_ = false;
  film_.stop();
  worker_.reset();  // joins the reader
}

}  // namespace quorvel
