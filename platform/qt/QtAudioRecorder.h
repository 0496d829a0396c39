#pragma once

#include <memory>
#include <string>

#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

// Records the machine's default sound input with Qt Multimedia into AAC files. Qt has no record
// permission on Linux: it is granted when there is an input to record. Use it on the GUI thread.
class QtAudioRecorder : public AudioRecorder {
 public:
  explicit QtAudioRecorder(std::shared_ptr<MainQueue> mainQueue);

  void requestRecordPermission(std::function<void(bool granted)> answer) override;
  std::shared_ptr<AudioRecording> record(const std::string& path, const Settings& settings,
                                         std::function<void(bool successfully)> finished) override;

 private:
  std::shared_ptr<MainQueue> mainQueue_;
};

}  // namespace quorvel
