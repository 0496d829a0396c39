#pragma once

#include <QCamera>
#include <QCameraDevice>
#include <QMediaCaptureSession>
#include <QVideoSink>
#include <memory>

#include "media/QrFrameReader.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// A camera session that reads the QR codes in the camera's frames (QrFrameReader, on the frames'
// luminance). It does not record.
class QtScanningSession : public CameraSession {
 public:
  QtScanningSession(const QCameraDevice& device, std::shared_ptr<MainQueue> mainQueue,
                    QrFrameReader::CodesRead codesRead);
  ~QtScanningSession() override;

  void stop() override;
  bool startRecording(const std::string& moviePath,
                      std::function<void(std::optional<std::string> error)> finished) override;
  void stopRecording() override {}

 private:
  // Shared with the frame handler, which may still run on the backend's thread while this goes.
  std::shared_ptr<QrFrameReader> reader_;
  bool stopped_ = false;
  // In this order, so that the capture session goes before what it uses.
  QVideoSink sink_;
  QCamera camera_;
  QMediaCaptureSession session_;
};

}  // namespace quorvel
