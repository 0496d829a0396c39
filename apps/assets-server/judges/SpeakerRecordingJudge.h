#pragma once

#include <filesystem>
#include <vector>

#include "Verdict.h"

namespace quorvel {

// Judges the speaker test's recording: the microphone recorded while the loudspeaker played the
// test clip. A pass needs the clip in the recording (its spectrogram matched at some moment)
// and loud enough there (well above the recording's quiet parts and an absolute floor).
class SpeakerRecordingJudge {
 public:
  static Verdict judge(const std::filesystem::path& recording);
  // The same for mono samples at kRate (what the file decodes to).
  static Verdict judgeSamples(const std::vector<float>& samples);

  static constexpr int kRate = 12000;
  // Matched when the normalised correlation of the log band spectrograms reaches this.
  static constexpr double kMatch = 0.5;
  // The clip's loud parts in the recording: at least this loud (dB of full scale) and this much
  // above the recording's quiet parts.
  static constexpr double kFloorDb = -50;
  static constexpr double kAboveQuietDb = 10;
  // Below this everywhere (dB of full scale), the recording is silent.
  static constexpr double kSilentDb = -60;
};

}  // namespace quorvel
