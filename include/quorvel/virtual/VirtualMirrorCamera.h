#pragma once

#include <QImage>
#include <QPointer>
#include <QQuickWindow>
#include <functional>
#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/quick/CameraPictureSource.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// The front camera of a machine that has none, standing in front of a mirror: it films the app's
// own window as the mirror shows it (turned left for right), 15 times a second.
//
// - Scanning sessions read the QR codes in the picture on a worker thread and report them on the
//   main queue of the installed platform (Qt's GUI thread in the Qt front end).
// - Capture sessions are the camera's picture: picture() is the newest frame, and the front end's
//   camera previews show it once the camera is plugged in with
//   QuickFrontEnd::useCamera(camera, camera). They record QuickTime movies (H.264 at the window's
//   size made even and at most 1280 on its long side) with AAC sound of what a microphone in the
//   room hears, when asked for and when there is a room.
//
// Without a window there is no camera: sessions are null. Everything but the encoding and the
// reading runs on the GUI thread, where the camera is made, used and destroyed; destroying it
// stops its session.
class QUORVEL_EXPORT VirtualMirrorCamera : public Camera, public CameraPictureSource {
 public:
  // room: where the microphone listens; null for a device without a microphone.
  VirtualMirrorCamera(QQuickWindow* window, std::shared_ptr<const VirtualRoom> room);
  ~VirtualMirrorCamera() override;

  QQuickWindow* window() const { return window_; }
  // Films another window from the next frame on; null: no camera for new sessions.
  void setWindow(QQuickWindow* window) { window_ = window; }

  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>& codes)> codesRead) override;
  std::shared_ptr<CameraSession> startCapture(bool withMicrophone) override;

  QImage picture() const override { return picture_; }
  void setPictureChanged(std::function<void()> changed) override {
    pictureChanged_ = std::move(changed);
  }

 private:
  void show(const QImage& picture);
  // Ends the session before a new one starts.
  void replace(const std::shared_ptr<CameraSession>& session);

  QPointer<QQuickWindow> window_;
  std::shared_ptr<const VirtualRoom> room_;
  QImage picture_;
  std::function<void()> pictureChanged_;
  // Held weakly: a session ends when its holder releases it.
  std::weak_ptr<CameraSession> session_;
  // Sessions may outlive the camera; what they call back checks this first.
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace quorvel
