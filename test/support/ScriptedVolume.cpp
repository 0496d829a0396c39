#include "support/ScriptedVolume.h"

#include <algorithm>

namespace quorvel::testing {

void ScriptedVolume::press(float step) {
  float level = std::clamp(session->outputVolume() + step, 0.0f, 1.0f);
  reportVolumeChange(*events, *session, {level, true});
}

void ScriptedVolume::systemChange(float level) {
  reportVolumeChange(*events, *session, {level, false});
}

}  // namespace quorvel::testing
