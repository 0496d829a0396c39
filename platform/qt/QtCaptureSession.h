#pragma once

#include <QCameraDevice>
#include <QImage>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"

QT_BEGIN_NAMESPACE
class QCamera;
class QMediaRecorder;
class QObject;
QT_END_NAMESPACE

namespace quorvel {

// A camera session that shows the camera's picture and records it with QMediaRecorder (H.264 and
// AAC in a QuickTime or MPEG-4 file where the backend has them), with the microphone's sound when
// asked and there is a microphone.
class QtCaptureSession : public CameraSession {
 public:
  // pictureChanged runs on the GUI thread after each new picture, and once when the session stops.
  QtCaptureSession(const QCameraDevice& device, bool withMicrophone,
                   std::shared_ptr<MainQueue> mainQueue, std::function<void()> pictureChanged);
  ~QtCaptureSession() override;

  void stop() override;
  bool startRecording(const std::string& moviePath,
                      std::function<void(std::optional<std::string> error)> finished) override;
  void stopRecording() override;

  // The newest picture; null before the first and once stopped.
  QImage picture() const;

 private:
  struct State;

  std::shared_ptr<State> state_;
  // The Qt objects are children of rig_. A recording still closing its file when the session is
  // let go keeps them until the file is complete.
  QObject* rig_;
  QCamera* camera_;
  QMediaRecorder* recorder_;
  bool hasMicrophone_ = false;
};

}  // namespace quorvel
