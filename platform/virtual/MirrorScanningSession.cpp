#include "MirrorScanningSession.h"

namespace quorvel {

MirrorScanningSession::MirrorScanningSession(std::function<QQuickWindow*()> window,
                                             std::shared_ptr<MainQueue> mainQueue,
                                             QrFrameReader::CodesRead codesRead)
    : reader_(std::make_unique<QrFrameReader>(std::move(mainQueue), std::move(codesRead))),
      film_(std::move(window), [this](const QImage& frame) {
        // Grey on the reader's thread: the GUI thread only films.
        if (reader_) {
          reader_->offer([frame] {
            return QrFrameReader::Grey::of(frame.convertToFormat(QImage::Format_Grayscale8));
          });
        }
      }) {
  film_.start();
}

MirrorScanningSession::~MirrorScanningSession() { stop(); }

void MirrorScanningSession::stop() {
  if (!reader_) return;
  film_.stop();
  reader_.reset();  // stops reporting and joins the reader's thread
}

}  // namespace quorvel
