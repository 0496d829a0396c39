#include "EvidenceJudges.h"

#include <exception>
#include <string>

#include "FilmJudge.h"
#include "SpeakerRecordingJudge.h"
#include "SpokenWordJudge.h"

namespace quorvel {

namespace {

constexpr std::string_view kFilm = "device_front_video";
constexpr std::string_view kSpeaker = "speaker_recording";
constexpr std::string_view kReadWord = "read_text";

// What the evidence is called in a why.
std::string evidenceName(std::string_view resultKey) {
  return resultKey == kFilm ? "film" : "recording";
}

}  // namespace

bool EvidenceJudges::judges(std::string_view resultKey) {
  return resultKey == kFilm || resultKey == kSpeaker || resultKey == kReadWord;
}

Verdict EvidenceJudges::judge(std::string_view resultKey, const nlohmann::json& result,
                              const std::filesystem::path& asset) {
  if (!judges(resultKey)) return Verdict::unknown("results of this test are not judged here");
  const std::string name = evidenceName(resultKey);
  try {
    std::error_code error;
    if (!std::filesystem::is_regular_file(asset, error)) {
      return Verdict::unknown("the " + name + " is not on this server");
    }
    if (resultKey == kFilm) return FilmJudge::judge(result, asset);
    if (resultKey == kSpeaker) return SpeakerRecordingJudge::judge(asset);
    // The word shown, for the recogniser's opinion (find answers end() for a non-object).
    const auto text = result.find("text");
    const std::string* shown =
        text != result.end() && text->is_string() ? text->get_ptr<const std::string*>() : nullptr;
    return SpokenWordJudge::judge(asset, shown);
  } catch (const std::exception& e) {
    return Verdict::unknown("the " + name + " could not be judged: " + e.what());
  } catch (...) {
    return Verdict::unknown("the " + name + " could not be judged: an unknown error");
  }
}

}  // namespace quorvel
