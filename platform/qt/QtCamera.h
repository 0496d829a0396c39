#pragma once

#include <QCameraDevice>
#include <memory>
#include <optional>

#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/quick/CameraPictureSource.h"

namespace quorvel {

class QtCaptureSession;

// The front camera through Qt Multimedia, and the picture source of the front end's previews.
// Whether there is a camera is decided from the system's list of video inputs alone: Qt delivers
// placeholder frames even without one. Use it on the GUI thread.
class QtCamera : public Camera, public CameraPictureSource {
 public:
  explicit QtCamera(std::shared_ptr<MainQueue> mainQueue);
  ~QtCamera() override;

  // The camera facing the person (else the first one), or none.
  static std::optional<QCameraDevice> frontCamera();

  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>& codes)> codesRead) override;
  std::shared_ptr<CameraSession> startCapture(bool withMicrophone) override;

  QImage picture() const override;
  void setPictureChanged(std::function<void()> changed) override;

 private:
  void stopRunning();

  std::shared_ptr<MainQueue> mainQueue_;
  // Shared with the capture sessions, which may outlive this object.
  std::shared_ptr<std::function<void()>> pictureChanged_;
  std::weak_ptr<CameraSession> running_;
  std::weak_ptr<QtCaptureSession> capture_;
};

}  // namespace quorvel
