#pragma once

#include <QCamera>
#include <QCameraDevice>
#include <QMediaCaptureSession>
#include <QVideoSink>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// A camera session that reads QR codes in the camera's frames. Frames are read one at a time on
// a worker thread, and frames that arrive meanwhile are dropped, so reading never falls behind the
// camera. Codes are reported on the main queue, never after stop().
class QtScanningSession : public CameraSession {
 public:
  using CodesRead = std::function<void(const std::vector<std::string>& codes)>;

  QtScanningSession(const QCameraDevice& device, std::shared_ptr<MainQueue> mainQueue,
                    CodesRead codesRead);
  ~QtScanningSession() override;

  void stop() override;
  // Scanning sessions do not record.
  bool startRecording(const std::string& moviePath,
                      std::function<void(std::optional<std::string> error)> finished) override;
  void stopRecording() override {}

 private:
  struct Reading;
  static void read(const std::shared_ptr<Reading>& reading, const QVideoFrame& frame);

  std::shared_ptr<Reading> reading_;
  // In this order, so that the capture session goes before what it uses.
  QVideoSink sink_;
  QCamera camera_;
  QMediaCaptureSession session_;
};

}  // namespace quorvel
