#include "SpokenWordJudge.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "MediaFile.h"
#include "SoundFeatures.h"
#include "WordRecogniser.h"

namespace quorvel {

namespace {

// 32 ms frames every 10 ms at 16 kHz.
constexpr std::size_t kLength = 512;
constexpr std::size_t kHop = 160;
constexpr double kFrameSeconds = static_cast<double>(kHop) / SpokenWordJudge::kRate;
// The voice-activity rule: a frame is active when it is kAboveFloorDb above the recording's noise
// floor (its 10th-percentile frame level) and above kQuietestDb. Pauses up to kBridge seconds
// inside a word are bridged; bursts shorter than kBlip seconds (a click) are dropped.
constexpr double kAboveFloorDb = 12;
constexpr double kQuietestDb = -55;
constexpr double kBridge = 0.2;
constexpr double kBlip = 0.06;
// Speech changes: over its active frames the level varies (standard deviation at least
// kLevelSpreadDb), the spectrum moves from one frame to the one kFluxGap frames later (mean
// spectral distance at least kMinFlux) and it is not noise-flat (median spectral flatness at
// most kMaxFlatness). A tone or hum fails the first two, hiss the first and the last.
constexpr double kLevelSpreadDb = 3;
constexpr std::size_t kFluxGap = 3;
constexpr double kMinFlux = 0.15;
constexpr double kMaxFlatness = 0.4;

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", value);
  return text;
}

double round2(double value) { return std::round(value * 100) / 100; }

// 1 - the cosine similarity of two magnitude spectra.
double spectralDistance(const std::vector<float>& a, const std::vector<float>& b) {
  double ab = 0, aa = 0, bb = 0;
  for (std::size_t k = 1; k < a.size(); ++k) {
    const double x = std::sqrt(a[k]), y = std::sqrt(b[k]);
    ab += x * y, aa += x * x, bb += y * y;
  }
  if (aa <= 0 || bb <= 0) return 0;
  return 1 - ab / std::sqrt(aa * bb);
}

// Geometric over arithmetic mean of the power spectrum from 100 Hz to 5 kHz (what a 12 kHz
// recording holds): near 1 for hiss, far lower for a voice's harmonics and formants.
double flatness(const std::vector<float>& power) {
  const double binHz = static_cast<double>(SpokenWordJudge::kRate) / kLength;
  const auto low = static_cast<std::size_t>(100 / binHz);
  const auto high = std::min(power.size(), static_cast<std::size_t>(5000 / binHz));
  double logSum = 0, sum = 0;
  std::size_t count = 0;
  for (std::size_t k = low; k < high; ++k) {
    logSum += std::log(power[k] + 1e-12);
    sum += power[k] + 1e-12;
    ++count;
  }
  if (count == 0 || sum <= 0) return 1;
  return std::exp(logSum / static_cast<double>(count)) / (sum / static_cast<double>(count));
}

}  // namespace

Verdict SpokenWordJudge::judge(const std::filesystem::path& recording,
                               const std::string* shownWord) {
  std::string error;
  auto file = MediaFile::open(recording, error);
  if (!file) return Verdict::fail("the recording cannot be played");
  auto samples = file->sound(kRate);
  if (!samples) return Verdict::fail("the recording has no sound");
  return judgeSamples(*samples, shownWord);
}

Verdict SpokenWordJudge::judgeSamples(const std::vector<float>& samples,
                                      const std::string* shownWord) {
  const auto levels = SoundFeatures::levels(samples, kLength, kHop);
  nlohmann::json details = nlohmann::json::object();
  details["recording_seconds"] = round2(static_cast<double>(samples.size()) / kRate);
  const double floor = SoundFeatures::percentile(levels, 0.1);
  const double threshold = std::max(floor + kAboveFloorDb, kQuietestDb);
  details["noise_floor_db"] = std::round(floor * 10) / 10;

  std::vector<bool> active(levels.size());
  for (std::size_t t = 0; t < levels.size(); ++t) active[t] = levels[t] >= threshold;
  // Bridge short pauses, then drop short bursts.
  const auto bridge = static_cast<std::size_t>(kBridge / kFrameSeconds);
  const auto blip = static_cast<std::size_t>(kBlip / kFrameSeconds);
  std::size_t lastActive = SIZE_MAX;
  for (std::size_t t = 0; t < active.size(); ++t) {
    if (!active[t]) continue;
    if (lastActive != SIZE_MAX && t - lastActive > 1 && t - lastActive <= bridge) {
      std::fill(active.begin() + static_cast<std::ptrdiff_t>(lastActive),
                active.begin() + static_cast<std::ptrdiff_t>(t), true);
    }
    lastActive = t;
  }
  for (std::size_t t = 0; t < active.size();) {
    if (!active[t]) {
      ++t;
      continue;
    }
    std::size_t end = t;
    while (end < active.size() && active[end]) ++end;
    if (end - t < blip) std::fill(active.begin() + t, active.begin() + end, false);
    t = end;
  }
  std::vector<std::size_t> frames;
  for (std::size_t t = 0; t < active.size(); ++t) {
    if (active[t]) frames.push_back(t);
  }
  if (frames.empty()) return Verdict::fail("no speech was heard in the recording", details);

  // Is it speech?
  const auto spectra = SoundFeatures::spectra(samples, kLength, kHop);
  double mean = 0;
  for (std::size_t t : frames) mean += levels[t];
  mean /= static_cast<double>(frames.size());
  double spread = 0;
  for (std::size_t t : frames) spread += (levels[t] - mean) * (levels[t] - mean);
  spread = std::sqrt(spread / static_cast<double>(frames.size()));
  double flux = 0;
  std::size_t fluxCount = 0;
  std::vector<double> flatnesses;
  for (std::size_t t : frames) {
    if (t >= spectra.size()) continue;
    flatnesses.push_back(flatness(spectra[t]));
    if (t + kFluxGap < spectra.size() && active[t + kFluxGap]) {
      flux += spectralDistance(spectra[t], spectra[t + kFluxGap]);
      ++fluxCount;
    }
  }
  flux = fluxCount == 0 ? 0 : flux / static_cast<double>(fluxCount);
  const double flat = SoundFeatures::percentile(flatnesses, 0.5);
  details["level_spread_db"] = std::round(spread * 10) / 10;
  details["spectral_change"] = std::round(flux * 1000) / 1000;
  details["flatness"] = std::round(flat * 1000) / 1000;
  if (spread < kLevelSpreadDb || flux < kMinFlux || flat > kMaxFlatness) {
    return Verdict::fail("no speech was heard in the recording, only a steady sound", details);
  }

  const double voiced = static_cast<double>(frames.size()) * kFrameSeconds;
  details["speech_seconds"] = round2(voiced);
  details["speech_from"] = round2(static_cast<double>(frames.front()) * kFrameSeconds);
  if (voiced < kShortest) {
    return Verdict::fail(
        "the speech in the recording is too short for a word (" + seconds(voiced) + ")", details);
  }
  if (voiced > kLongest) {
    return Verdict::fail("the recording holds more speech than one word (" + seconds(voiced) + ")",
                         details);
  }
  if (shownWord != nullptr) {
    // The speech with a little of the quiet around it.
    const auto margin = static_cast<std::size_t>(0.3 * kRate);
    const std::size_t from = std::min(samples.size(), frames.front() * kHop);
    const std::size_t to = std::min(samples.size(), frames.back() * kHop + kLength + margin);
    const std::vector<float> speech(
        samples.begin() + static_cast<std::ptrdiff_t>(from > margin ? from - margin : 0),
        samples.begin() + static_cast<std::ptrdiff_t>(to));
    details["word"] = WordRecogniser::check(speech, *shownWord);
  }
  return Verdict::pass(details);
}

}  // namespace quorvel
