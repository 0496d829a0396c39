#pragma once

#include <algorithm>
#include <memory>

#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel::testing {

// Hardware volume keys over the system's output level, as a phone reports them: each press moves
// the level one step within 0...1 and is reported as an explicit change, also when the level is
// already at an end; the audio session's observers hear of every change.
struct ScriptedVolume {
  static constexpr float kStep = 1.0f / 16;

  std::shared_ptr<VolumeEvents> events = std::make_shared<VolumeEvents>();
  std::shared_ptr<TrackedAudioSession> session = std::make_shared<TrackedAudioSession>(0.5f);

  void pressUp() { press(kStep); }
  void pressDown() { press(-kStep); }
  // A change that the system or another app made, not the keys.
  void systemChange(float to) { reportVolumeChange(*events, *session, {to, false}); }
  float level() const { return session->outputVolume(); }

 private:
  void press(float step) {
    reportVolumeChange(*events, *session, {std::clamp(level() + step, 0.0f, 1.0f), true});
  }
};

}  // namespace quorvel::testing
