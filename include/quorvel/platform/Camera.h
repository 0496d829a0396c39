#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// A running camera session; stop() ends it (a recording is finished and its file closed).
class CameraSession {
 public:
  virtual ~CameraSession() = default;
  virtual void stop() = 0;
};

// The front camera: a scanning session that reads QR codes, or a recording session that writes a
// movie with the camera's picture and the microphone's sound. One session runs at a time. "No
// camera" is an answer (a null session), never a placeholder picture.
class Camera {
 public:
  virtual ~Camera() = default;

  // Reports the texts of the QR codes in view, on the main queue, until stopped; null when the
  // device has no usable front camera.
  virtual std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>& codes)> codesRead) = 0;
  // Records to moviePath (replacing it); finished runs on the main queue once the file is complete,
  // with an error text when it could not be written. Null when there is no usable front camera.
  virtual std::shared_ptr<CameraSession> startRecording(
      const std::string& moviePath,
      std::function<void(std::optional<std::string> error)> finished) = 0;
  // The session whose picture the screen's video preview shows; null when none runs.
  virtual std::shared_ptr<CameraSession> previewSession() const = 0;
};

}  // namespace quorvel
