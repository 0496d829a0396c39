#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// Which word of the read-word test's list a recording says, where the server has a recogniser for
// the list's language (PocketSphinx with its US English model, when the build found them). An
// opinion beside the verdict, never a reason to fail a run: a machine without the model, or a
// language without one, answers "unknown".
class WordRecogniser {
 public:
  // Whether this build carries a recogniser at all.
  static bool built();
  // {"verdict": "pass" | "fail" | "unknown", "heard": the list's word heard (when there is one),
  //  "why": for anything but a pass}: whether shownWord was said in the 16 kHz mono samples.
  static nlohmann::json check(const std::vector<float>& samples, const std::string& shownWord);
};

}  // namespace quorvel
