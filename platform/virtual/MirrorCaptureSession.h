#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "MirrorFilm.h"
#include "media/MovieWriter.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/virtual/VirtualMicrophone.h"

namespace quorvel {

// The mirror camera's capture session: films the window for the preview and records it, with
// what a microphone in the room hears, into a QuickTime movie. Made, used and released on the
// GUI thread; the encoding runs on the movie writer's thread and the closing of a movie on a
// thread of its own, which the session joins before it goes.
class MirrorCaptureSession : public CameraSession {
 public:
  // preview gets each frame, and a null picture when the session ends. A null room: a device
  // without a microphone.
  MirrorCaptureSession(std::function<QQuickWindow*()> window,
                       std::function<void(const QImage&)> preview,
                       std::shared_ptr<const VirtualRoom> room, bool withMicrophone,
                       std::shared_ptr<MainQueue> mainQueue);
  ~MirrorCaptureSession() override;

  void stop() override;
  bool startRecording(const std::string& moviePath,
                      std::function<void(std::optional<std::string> error)> finished) override;
  void stopRecording() override;

 private:
  void filmed(const QImage& frame);
  void record(const QImage& frame, double seconds);
  void hear();
  // Seconds on the room's clock when there is a room, so that picture and sound agree.
  double now() const;
  void joinClosers();

  std::function<QQuickWindow*()> window_;
  std::function<void(const QImage&)> preview_;
  std::shared_ptr<const VirtualRoom> room_;
  const bool withMicrophone_;
  std::shared_ptr<MainQueue> mainQueue_;
  bool stopped_ = false;
  QImage latest_;

  std::unique_ptr<MovieWriter> writer_;  // while recording
  std::optional<VirtualMicrophone> microphone_;
  double startedAt_ = 0;
  std::function<void(std::optional<std::string>)> finished_;
  std::vector<std::thread> closers_;

  MirrorFilm film_;
};

}  // namespace quorvel
