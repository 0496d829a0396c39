#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel::testing {

// A recorder on the main queue's clock. Each recording writes a small file at its path when it
// ends; the test decides the permission, whether recordings start, and when one fails.
class ScriptedAudioRecorder : public AudioRecorder {
 public:
  struct Recording : AudioRecording {
    std::string path;
    Settings settings;
    double startedAt = 0;
    double stoppedAt = -1;
    std::function<void(bool)> finished;
    std::shared_ptr<MainQueue> queue;

    double now() const;

    void stop() override { end(true); }
    bool isRecording() const override { return stoppedAt < 0; }
    double currentTime() const override { return (isRecording() ? now() : stoppedAt) - startedAt; }
    // Ends the recording: the file is written when it succeeds.
    void end(bool successfully);
  };

  explicit ScriptedAudioRecorder(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}

  bool permission = true;
  bool canRecord = true;
  // Every recording stops by itself, unsuccessfully, this long after it started; 0: never.
  double failsAfter = 0;
  std::vector<std::shared_ptr<Recording>> recordings;

  void requestRecordPermission(std::function<void(bool granted)> answer) override;
  std::shared_ptr<AudioRecording> record(const std::string& path, const Settings& settings,
                                         std::function<void(bool successfully)> finished) override;

 private:
  std::shared_ptr<MainQueue> queue_;
};

}  // namespace quorvel::testing
