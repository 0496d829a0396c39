#pragma once

#include <filesystem>
#include <vector>

#include "Verdict.h"

namespace quorvel {

// Judges the read-word test's recording: the person said the word shown. A pass needs speech
// of about one word's length: frames well above the recording's own noise floor, changing the
// way speech does (a steady tone, hum or hiss is no speech), voiced for kShortest to kLongest
// seconds in all.
class SpokenWordJudge {
 public:
  static Verdict judge(const std::filesystem::path& recording);
  // The same for mono samples at kRate.
  static Verdict judgeSamples(const std::vector<float>& samples);

  static constexpr int kRate = 16000;
  static constexpr double kShortest = 0.2;
  static constexpr double kLongest = 3.0;
};

}  // namespace quorvel
