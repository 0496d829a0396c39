#include "quorvel/virtual/VirtualMirrorCamera.h"

#include <QVideoFrame>
#include <cstring>

#include "MirrorCaptureSession.h"
#include "MirrorScanningSession.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

VirtualMirrorCamera::VirtualMirrorCamera(QQuickWindow* window,
                                         std::shared_ptr<const VirtualRoom> room, QObject* parent)
    : QObject(parent), window_(window), room_(std::move(room)) {}

VirtualMirrorCamera::~VirtualMirrorCamera() {
  if (auto session = session_.lock()) session->stop();
}

void VirtualMirrorCamera::setVideoSink(QVideoSink* sink) {
  if (sink_ == sink) return;
  sink_ = sink;
  emit videoSinkChanged();
}

std::shared_ptr<CameraSession> VirtualMirrorCamera::startScanning(
    std::function<void(const std::vector<std::string>& codes)> codesRead) {
  replace(nullptr);
  if (!window_) return nullptr;
  QPointer<VirtualMirrorCamera> self(this);
  auto session =
      std::make_shared<MirrorScanningSession>([self] { return self ? self->window() : nullptr; },
                                              std::move(codesRead), platform().mainQueue);
  replace(session);
  return session;
}

std::shared_ptr<CameraSession> VirtualMirrorCamera::startCapture(bool withMicrophone) {
  replace(nullptr);
  if (!window_) return nullptr;
  QPointer<VirtualMirrorCamera> self(this);
  auto session =
      std::make_shared<MirrorCaptureSession>([self] { return self ? self->window() : nullptr; },
                                             [self](const QImage& frame) {
                                               if (self) self->present(frame);
                                             },
                                             room_, withMicrophone, platform().mainQueue);
  replace(session);
  return session;
}

void VirtualMirrorCamera::replace(const std::shared_ptr<CameraSession>& session) {
  if (auto before = session_.lock(); before && before != session) before->stop();
  session_ = session;
  latest_ = QImage();
}

void VirtualMirrorCamera::present(const QImage& frame) {
  latest_ = frame;
  emit frameReady(frame);
  if (!sink_) return;
  QVideoFrame video(QVideoFrameFormat(
      frame.size(), QVideoFrameFormat::pixelFormatFromImageFormat(frame.format())));
  if (!video.map(QVideoFrame::WriteOnly)) return;
  const auto rowBytes = static_cast<std::size_t>(frame.width()) * 4;
  for (int y = 0; y < frame.height(); ++y) {
    std::memcpy(video.bits(0) + static_cast<qsizetype>(y) * video.bytesPerLine(0),
                frame.constScanLine(y), rowBytes);
  }
  video.unmap();
  sink_->setVideoFrame(video);
}

}  // namespace quorvel
