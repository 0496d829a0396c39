#include "qt/QtScanningSession.h"

#include <QThreadPool>
#include <atomic>

#include "media/QrCodeReader.h"
#include "qt/QtLuminance.h"
#include "support/Logging.h"

namespace quorvel {

struct QtScanningSession::Reading {
  std::shared_ptr<MainQueue> mainQueue;
  CodesRead codesRead;  // called on the main queue only
  std::atomic<bool> busy{false};
  std::atomic<bool> stopped{false};
};

QtScanningSession::QtScanningSession(const QCameraDevice& device,
                                     std::shared_ptr<MainQueue> mainQueue, CodesRead codesRead)
    : reading_(std::make_shared<Reading>()), camera_(device) {
  reading_->mainQueue = std::move(mainQueue);
  reading_->codesRead = std::move(codesRead);
  session_.setCamera(&camera_);
  session_.setVideoSink(&sink_);
  // Direct: frames may come from the backend's thread, and a busy reader drops them right there.
  QObject::connect(
      &sink_, &QVideoSink::videoFrameChanged, &sink_,
      [reading = reading_](const QVideoFrame& frame) { read(reading, frame); },
      Qt::DirectConnection);
  QObject::connect(&camera_, &QCamera::errorOccurred, &camera_,
                   [](QCamera::Error, const QString& message) {
                     logLine("the camera stopped scanning: " + message.toStdString());
                   });
  camera_.start();
}

QtScanningSession::~QtScanningSession() { stop(); }

void QtScanningSession::stop() {
  if (reading_->stopped.exchange(true)) return;
  QObject::disconnect(&sink_, nullptr, nullptr, nullptr);
  camera_.stop();
}

bool QtScanningSession::startRecording(const std::string& /*moviePath*/,
                                       std::function<void(std::optional<std::string>)> /*done*/) {
  return false;
}

void QtScanningSession::read(const std::shared_ptr<Reading>& reading, const QVideoFrame& frame) {
  if (reading->stopped || reading->busy.exchange(true)) return;
  QThreadPool::globalInstance()->start([reading, frame] {
    const QImage grey = QtLuminance::of(frame);
    std::vector<std::string> codes;
    if (!grey.isNull()) {
      codes = QrCodeReader::read(grey.constBits(), grey.width(), grey.height(),
                                 static_cast<int>(grey.bytesPerLine()));
    }
    reading->busy = false;
    if (codes.empty()) return;
    reading->mainQueue->async([reading, codes = std::move(codes)] {
      if (!reading->stopped) reading->codesRead(codes);
    });
  });
}

}  // namespace quorvel
