#pragma once

#include <functional>
#include <memory>
#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// A recording under way. It ends when stopped, when it fails, or when released.
class QUORVEL_EXPORT AudioRecording {
 public:
  virtual ~AudioRecording() = default;
  // Ends the recording and completes its file; stopping twice does nothing.
  virtual void stop() = 0;
  virtual bool isRecording() const = 0;
  // Seconds recorded so far; what was recorded once stopped.
  virtual double currentTime() const = 0;
};

// Records the microphone into an AAC file (.m4a).
class QUORVEL_EXPORT AudioRecorder {
 public:
  struct Settings {
    int sampleRate = 12000;
    int channels = 1;
  };

  virtual ~AudioRecorder() = default;

  // Whether the person lets the app record; answered once, on the main queue.
  virtual void requestRecordPermission(std::function<void(bool granted)> answer) = 0;
  // Starts recording into path, replacing the file. finished runs once on the main queue: true
  // when the recording was stopped and its file is complete, false when it failed. Null, and
  // finished never runs, when no recording can start (no microphone, no permission, a file that
  // cannot be written).
  virtual std::shared_ptr<AudioRecording> record(
      const std::string& path, const Settings& settings,
      std::function<void(bool successfully)> finished) = 0;
};

}  // namespace quorvel
