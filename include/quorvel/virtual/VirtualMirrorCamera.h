#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QVideoSink>
#include <memory>

#include "quorvel/platform/Camera.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// The front camera of a machine that has none, standing in front of a mirror: it films the app's
// own window as the mirror shows it (turned left for right), about 15 times a second.
//
// - Scanning sessions read the QR codes in the picture on a worker thread and report them on the
//   main queue of the installed platform (Qt's GUI thread in the Qt front end).
// - Capture sessions show the picture as a preview: each frame goes to frameReady and into the
//   video sink, if one is set (give it a QML VideoOutput's videoSink). They record QuickTime
//   movies (H.264, the window's size made even and at most 1280 on its long side) with AAC sound
//   of what a microphone in the room hears, when asked for and when there is a room.
//
// Without a window there is no camera: sessions are null. Everything but the encoding and the
// reading runs on the GUI thread, where the camera is made, used and destroyed; destroying it
// stops its session.
class VirtualMirrorCamera : public QObject, public Camera {
  Q_OBJECT
  Q_PROPERTY(QVideoSink* videoSink READ videoSink WRITE setVideoSink NOTIFY videoSinkChanged)

 public:
  // room: where the microphone listens; null for a device without a microphone.
  VirtualMirrorCamera(QQuickWindow* window, std::shared_ptr<const VirtualRoom> room,
                      QObject* parent = nullptr);
  ~VirtualMirrorCamera() override;

  QQuickWindow* window() const { return window_; }
  // Films another window from the next frame on; null: no camera for new sessions.
  void setWindow(QQuickWindow* window) { window_ = window; }
  QVideoSink* videoSink() const { return sink_; }
  void setVideoSink(QVideoSink* sink);
  // The capture session's latest frame; null when none runs.
  QImage latestFrame() const { return latest_; }

  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>& codes)> codesRead) override;
  std::shared_ptr<CameraSession> startCapture(bool withMicrophone) override;

 signals:
  // A capture session's frame as the preview shows it.
  void frameReady(const QImage& frame);
  void videoSinkChanged();

 private:
  void present(const QImage& frame);
  // Ends the session before a new one starts.
  void replace(const std::shared_ptr<CameraSession>& session);

  QPointer<QQuickWindow> window_;
  std::shared_ptr<const VirtualRoom> room_;
  QPointer<QVideoSink> sink_;
  QImage latest_;
  // Held weakly: a session ends when its holder releases it.
  std::weak_ptr<CameraSession> session_;
};

}  // namespace quorvel
