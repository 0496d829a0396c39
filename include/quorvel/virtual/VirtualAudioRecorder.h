#pragma once

#include <memory>
#include <string>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// The app's microphone on a machine without one: it records what is heard in a virtual room (what
// the app's virtual speaker plays, what a virtual person says) into real AAC files. Permission is
// always granted. Used on the main queue, like any AudioRecorder.
class QUORVEL_EXPORT VirtualAudioRecorder : public AudioRecorder {
 public:
  VirtualAudioRecorder(std::shared_ptr<const VirtualRoom> room,
                       std::shared_ptr<MainQueue> mainQueue);

  void requestRecordPermission(std::function<void(bool granted)> answer) override;
  std::shared_ptr<AudioRecording> record(const std::string& path, const Settings& settings,
                                         std::function<void(bool successfully)> finished) override;

 private:
  std::shared_ptr<const VirtualRoom> room_;
  std::shared_ptr<MainQueue> mainQueue_;
};

}  // namespace quorvel
