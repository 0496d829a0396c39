#include "qt/QtScanningSession.h"

#include "qt/QtLuminance.h"
#include "support/Logging.h"

namespace quorvel {

QtScanningSession::QtScanningSession(const QCameraDevice& device,
                                     std::shared_ptr<MainQueue> mainQueue,
                                     QrFrameReader::CodesRead codesRead)
    : reader_(std::make_shared<QrFrameReader>(std::move(mainQueue), std::move(codesRead))),
      camera_(device) {
  session_.setCamera(&camera_);
  session_.setVideoSink(&sink_);
  // Direct: frames may come from the backend's thread, and a busy reader drops them right there.
  QObject::connect(
      &sink_, &QVideoSink::videoFrameChanged, &sink_,
      [reader = reader_](const QVideoFrame& frame) {
        // The frame's pixels become grey on the reader's thread, not the camera's.
        reader->offer([frame] { return QrFrameReader::Grey::of(QtLuminance::of(frame)); });
      },
      Qt::DirectConnection);
  QObject::connect(&camera_, &QCamera::errorOccurred, &camera_,
                   [](QCamera::Error, const QString& message) {
                     logLine("the camera stopped scanning: " + message.toStdString());
                   });
  camera_.start();
}

QtScanningSession::~QtScanningSession() { stop(); }

void QtScanningSession::stop() {
  if (stopped_) return;
  stopped_ = true;
  reader_->stop();
  QObject::disconnect(&sink_, nullptr, nullptr, nullptr);
  camera_.stop();
}

bool QtScanningSession::startRecording(const std::string& /*moviePath*/,
                                       std::function<void(std::optional<std::string>)> /*done*/) {
  return false;
}

}  // namespace quorvel
