#include "quorvel/virtual/VirtualMirrorCamera.h"

#include "MirrorCaptureSession.h"
#include "MirrorScanningSession.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

VirtualMirrorCamera::VirtualMirrorCamera(QQuickWindow* window,
                                         std::shared_ptr<const VirtualRoom> room)
    : window_(window), room_(std::move(room)) {}

VirtualMirrorCamera::~VirtualMirrorCamera() {
  alive_.reset();
  if (auto session = session_.lock()) session->stop();
}

std::shared_ptr<CameraSession> VirtualMirrorCamera::startScanning(
    std::function<void(const std::vector<std::string>& codes)> codesRead) {
  replace(nullptr);
  if (!window_) return nullptr;
  auto session = std::make_shared<MirrorScanningSession>(
      [this, alive = std::weak_ptr<int>(alive_)] { return alive.lock() ? window() : nullptr; },
      platform().mainQueue, std::move(codesRead));
  replace(session);
  return session;
}

std::shared_ptr<CameraSession> VirtualMirrorCamera::startCapture(bool withMicrophone) {
  replace(nullptr);
  if (!window_) return nullptr;
  std::weak_ptr<int> alive = alive_;
  auto session = std::make_shared<MirrorCaptureSession>(
      [this, alive] { return alive.lock() ? window() : nullptr; },
      [this, alive](const QImage& picture) {
        if (alive.lock()) show(picture);
      },
      room_, withMicrophone, platform().mainQueue);
  replace(session);
  return session;
}

void VirtualMirrorCamera::replace(const std::shared_ptr<CameraSession>& session) {
  if (auto before = session_.lock(); before && before != session) before->stop();
  session_ = session;
}

void VirtualMirrorCamera::show(const QImage& picture) {
  if (picture.isNull() && picture_.isNull()) return;
  picture_ = picture;
  if (pictureChanged_) pictureChanged_();
}

}  // namespace quorvel
