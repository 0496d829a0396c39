#pragma once

#include <filesystem>
#include <string_view>

#include <nlohmann/json.hpp>

#include "Verdict.h"

namespace quorvel {

// Judges the evidence of one test result: the film of the front-video tests, the speaker
// recording, the read-word recording. Safe to call from several threads at once.
class EvidenceJudges {
 public:
  // Whether results under this key carry evidence that is judged here.
  static bool judges(std::string_view resultKey);
  // The verdict on the stored asset that result (a test's dictionary in "tests_results") points
  // at, under resultKey; never pending. Unknown for a key that is not judged here.
  static Verdict judge(std::string_view resultKey, const nlohmann::json& result,
                       const std::filesystem::path& asset);
};

}  // namespace quorvel
