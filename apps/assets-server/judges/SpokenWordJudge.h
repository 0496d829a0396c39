#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Verdict.h"

namespace quorvel {

// Judges the read-word test's recording: the person said the word shown. A pass needs speech
// of about one word's length: frames well above the recording's own noise floor, changing the
// way speech does (a steady tone, hum or hiss is no speech), voiced for kShortest to kLongest
// seconds in all. Given the word shown, a pass also says in its details ("word") whether a
// recogniser heard that word, where the server has one for its language.
class SpokenWordJudge {
 public:
  static Verdict judge(const std::filesystem::path& recording,
                       const std::string* shownWord = nullptr);
  // The same for mono samples at kRate.
  static Verdict judgeSamples(const std::vector<float>& samples,
                              const std::string* shownWord = nullptr);

  static constexpr int kRate = 16000;
  static constexpr double kShortest = 0.2;
  static constexpr double kLongest = 3.0;
};

}  // namespace quorvel
