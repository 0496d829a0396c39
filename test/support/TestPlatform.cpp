#include "support/TestPlatform.h"

namespace quorvel::testing {

bool CapturingLog::contains(std::string_view line) const {
  std::lock_guard lock(mutex_);
  for (const auto& each : lines_) {
    if (each == line) return true;
  }
  return false;
}

long CapturingLog::indexOf(std::string_view prefix) const {
  std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (lines_[i].rfind(prefix, 0) == 0) return static_cast<long>(i);
  }
  return -1;
}

void TestPlatform::install() {
  Platform p;
  p.mainQueue = queue;
  p.clock = clock;
  p.log = log;
  p.hostBundle = host;
  p.device = device;
  p.imagePicker = picker;
  p.urlOpener = opener;
  p.application = application;
  p.volumeEvents = volume.events;
  p.audioSession = volume.session;
  p.screenshotEvents = screenshots;
  p.camera = camera;
  p.mediaExport = mediaExport;
  p.audioPlayer = sounds;
  p.videoPlayback = videoPlayer;
  p.audioRecorder = recorder;
  // HTTP, images and types stay real (loopback, FFmpeg, shared-mime-info); the rest is scripted.
  installPlatform(p);
}

}  // namespace quorvel::testing
