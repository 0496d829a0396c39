#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

#include "Verdict.h"

namespace quorvel {

// Judges the film of a front-video test (versions 1 and 2): the device filmed its own screen in a
// mirror while the screen showed the start QR code, the colour sequence and the end code. A pass
// needs, in this order: a film that plays, with a picture and a sound track; the run's start code
// as the first start code read; the run's end code read after it; the five colours in their order
// between the two readings; code times that agree with each other, with the film and with the
// result. A fail names the first check that failed.
class FilmJudge {
 public:
  static Verdict judge(const nlohmann::json& result, const std::filesystem::path& film);
};

}  // namespace quorvel
