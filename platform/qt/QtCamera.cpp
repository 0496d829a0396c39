#include "qt/QtCamera.h"

#include <QMediaDevices>

#include "qt/QtCaptureSession.h"
#include "qt/QtScanningSession.h"
#include "quorvel/Fatal.h"

namespace quorvel {

QtCamera::QtCamera(std::shared_ptr<MainQueue> mainQueue)
    : mainQueue_(std::move(mainQueue)), pictureChanged_(std::make_shared<std::function<void()>>()) {
  if (!mainQueue_) QUORVEL_FATAL("the camera needs a main queue");
}

QtCamera::~QtCamera() { *pictureChanged_ = nullptr; }

std::optional<QCameraDevice> QtCamera::frontCamera() {
  const QList<QCameraDevice> cameras = QMediaDevices::videoInputs();
  for (const QCameraDevice& camera : cameras) {
    if (camera.position() == QCameraDevice::FrontFace) return camera;
  }
  if (cameras.isEmpty()) return std::nullopt;
  return cameras.front();
}

void QtCamera::stopRunning() {
  if (auto running = running_.lock()) running->stop();
}

std::shared_ptr<CameraSession> QtCamera::startScanning(
    std::function<void(const std::vector<std::string>& codes)> codesRead) {
  const auto device = frontCamera();
  if (!device) return nullptr;
  stopRunning();
  auto session = std::make_shared<QtScanningSession>(*device, mainQueue_, std::move(codesRead));
  running_ = session;
  return session;
}

std::shared_ptr<CameraSession> QtCamera::startCapture(bool withMicrophone) {
  const auto device = frontCamera();
  if (!device) return nullptr;
  stopRunning();
  std::weak_ptr<std::function<void()>> changed = pictureChanged_;
  auto session = std::make_shared<QtCaptureSession>(*device, withMicrophone, mainQueue_, [changed] {
    auto notify = changed.lock();
    if (notify && *notify) (*notify)();
  });
  running_ = session;
  capture_ = session;
  return session;
}

QImage QtCamera::picture() const {
  auto capture = capture_.lock();
  return capture ? capture->picture() : QImage();
}

void QtCamera::setPictureChanged(std::function<void()> changed) {
  *pictureChanged_ = std::move(changed);
}

}  // namespace quorvel
