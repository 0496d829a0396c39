#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// A running session of the front camera. It ends when stopped or released.
class QUORVEL_EXPORT CameraSession {
 public:
  virtual ~CameraSession() = default;

  // Ends the session; a recording still running is finished first. Stopping twice does nothing.
  virtual void stop() = 0;
  // Starts writing the session's picture (and its microphone's sound, when it has one) to
  // moviePath, replacing the file. finished runs once on the main queue when the file is complete,
  // with an error text when it could not be written. False, and finished never runs, when this
  // session cannot record (a scanning session, one already recording, one stopped).
  virtual bool startRecording(const std::string& moviePath,
                              std::function<void(std::optional<std::string> error)> finished) = 0;
  // Ends the recording and closes its file; nothing happens when none runs.
  virtual void stopRecording() = 0;
};

// The front camera. One session runs at a time: starting one ends the one before. "No camera" is
// an answer (a null session), never a placeholder picture.
class QUORVEL_EXPORT Camera {
 public:
  virtual ~Camera() = default;

  // Reports the texts of the QR codes in view (mirrored ones included), on the main queue, until
  // the session stops. Null when the device has no usable front camera.
  virtual std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>& codes)> codesRead) = 0;
  // A session that shows the camera's picture in the screens' camera preview and can record it,
  // with the microphone's sound when withMicrophone is set and the device has a microphone. Null
  // when the device has no usable front camera.
  virtual std::shared_ptr<CameraSession> startCapture(bool withMicrophone) = 0;
};

}  // namespace quorvel
