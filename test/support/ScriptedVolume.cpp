#include "support/ScriptedVolume.h"

#include <algorithm>

namespace quorvel::testing {

void ScriptedVolume::press(float step) {
  float level = std::clamp(session->outputVolume() + step, 0.0f, 1.0f);
  events->report({level, true});
  session->outputVolumeDidChange(level);
}

void ScriptedVolume::systemChange(float level) {
  events->report({level, false});
  session->outputVolumeDidChange(level);
}

}  // namespace quorvel::testing
