#include "SpeakerRecordingJudge.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "MediaFile.h"
#include "SoundFeatures.h"
#include "TestClip.h"
#include "media/WaveDecoder.h"

namespace quorvel {

namespace {

// Frames of 512 samples (43 ms) every 256 at 12 kHz; 20 bands spaced evenly in pitch from 150 Hz
// to 5.5 kHz, what a phone's loudspeaker and microphone pass.
constexpr std::size_t kLength = 512;
constexpr std::size_t kHop = 256;
constexpr int kBands = 20;
constexpr double kLowHz = 150, kHighHz = 5500;
// Levels more than this below a sound's loudest band are its floor: the clip's digital silences
// and a recording's hiss then weigh alike.
constexpr double kRangeDb = 60;
// A recording shorter than the clip may still hold most of it.
constexpr double kMinOverlap = 0.8;

using Matrix = std::vector<std::vector<double>>;

// Log band energies, frame by frame.
Matrix bandLevels(const std::vector<float>& samples) {
  const auto spectra = SoundFeatures::spectra(samples, kLength, kHop);
  const double binHz = static_cast<double>(SpeakerRecordingJudge::kRate) / kLength;
  std::vector<std::size_t> edges(kBands + 1);
  for (int b = 0; b <= kBands; ++b) {
    const double hz = kLowHz * std::pow(kHighHz / kLowHz, static_cast<double>(b) / kBands);
    edges[static_cast<std::size_t>(b)] = static_cast<std::size_t>(std::lround(hz / binHz));
  }
  Matrix levels;
  levels.reserve(spectra.size());
  double loudest = -1e9;
  for (const auto& power : spectra) {
    std::vector<double> bands(kBands);
    for (std::size_t b = 0; b < kBands; ++b) {
      double energy = 0;
      for (std::size_t k = edges[b]; k < std::max(edges[b + 1], edges[b] + 1); ++k) {
        energy += power[k];
      }
      bands[b] = 10 * std::log10(energy + 1e-20);
      loudest = std::max(loudest, bands[b]);
    }
    levels.push_back(std::move(bands));
  }
  for (auto& bands : levels) {
    for (double& level : bands) level = std::max(level, loudest - kRangeDb);
  }
  return levels;
}

struct Match {
  double correlation = -1;
  long lag = 0;  // the recording's frame where the clip's first frame lies
};

// The lag at which the clip's spectrogram best matches the recording's, band by band with each
// band's mean taken out (a loudspeaker's and a microphone's colouring cancel).
Match bestMatch(const Matrix& clip, const Matrix& recording) {
  Match best;
  const auto clipFrames = static_cast<long>(clip.size());
  const auto recordingFrames = static_cast<long>(recording.size());
  const auto minOverlap = static_cast<long>(std::ceil(kMinOverlap * clipFrames));
  for (long lag = -(clipFrames - minOverlap); lag <= recordingFrames - minOverlap; ++lag) {
    const long from = std::max(0L, -lag), to = std::min(clipFrames, recordingFrames - lag);
    const auto n = static_cast<double>(to - from);
    if (to - from < minOverlap || n < 2) continue;
    double covariance = 0, clipVariance = 0, recordingVariance = 0;
    for (std::size_t b = 0; b < kBands; ++b) {
      double sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
      for (long t = from; t < to; ++t) {
        const double x = clip[static_cast<std::size_t>(t)][b];
        const double y = recording[static_cast<std::size_t>(t + lag)][b];
        sx += x, sy += y, sxx += x * x, syy += y * y, sxy += x * y;
      }
      covariance += sxy - sx * sy / n;
      clipVariance += sxx - sx * sx / n;
      recordingVariance += syy - sy * sy / n;
    }
    if (clipVariance <= 0 || recordingVariance <= 0) continue;
    const double correlation = covariance / std::sqrt(clipVariance * recordingVariance);
    if (correlation > best.correlation) best = {correlation, lag};
  }
  return best;
}

double powerMean(const std::vector<double>& levels) {
  if (levels.empty()) return -120;
  double power = 0;
  for (double level : levels) power += std::pow(10.0, level / 10);
  return 10 * std::log10(power / static_cast<double>(levels.size()));
}

std::string decibels(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

const std::vector<float>& clipSamples() {
  static const std::vector<float> samples = [] {
    std::vector<float> floats;
    auto decoded = WaveDecoder::decode(TestClip::wave(), SpeakerRecordingJudge::kRate);
    if (decoded) {
      floats.reserve(decoded->size());
      for (std::int16_t sample : *decoded) floats.push_back(sample / 32768.0f);
    }
    return floats;
  }();
  return samples;
}

}  // namespace

Verdict SpeakerRecordingJudge::judge(const std::filesystem::path& recording) {
  std::string error;
  auto file = MediaFile::open(recording, error);
  if (!file) return Verdict::fail("the recording cannot be played");
  auto samples = file->sound(kRate);
  if (!samples) return Verdict::fail("the recording has no sound");
  return judgeSamples(*samples);
}

Verdict SpeakerRecordingJudge::judgeSamples(const std::vector<float>& samples) {
  const std::vector<float>& clip = clipSamples();
  if (clip.empty()) return Verdict::unknown("the test sound is missing from the server");
  const auto levels = SoundFeatures::levels(samples, kLength, kHop);
  nlohmann::json details = nlohmann::json::object();
  details["recording_seconds"] = std::round(samples.size() * 100.0 / kRate) / 100;
  const double loudest = levels.empty() ? -120 : *std::max_element(levels.begin(), levels.end());
  details["loudest_db"] = std::round(loudest * 10) / 10;
  if (loudest < kSilentDb) return Verdict::fail("the recording is silent", details);

  const Matrix clipBands = bandLevels(clip);
  const Match match = bestMatch(clipBands, bandLevels(samples));
  details["correlation"] = std::round(match.correlation * 1000) / 1000;
  if (match.correlation < kMatch) {
    return Verdict::fail("the test sound was not heard in the recording", details);
  }
  details["heard_at"] = std::round(match.lag * 100.0 * kHop / kRate) / 100;

  // The clip's loud frames as the recording has them, against the recording's quiet parts
  // outside the clip (or the clip's own pauses when the recording is all clip).
  const auto clipLevels = SoundFeatures::levels(clip, kLength, kHop);
  const double clipLoudest = *std::max_element(clipLevels.begin(), clipLevels.end());
  std::vector<double> loud, pauses, outside;
  for (std::size_t t = 0; t < levels.size(); ++t) {
    const long c = static_cast<long>(t) - match.lag;
    if (c < 0 || c >= static_cast<long>(clipLevels.size())) {
      outside.push_back(levels[t]);
    } else if (clipLevels[static_cast<std::size_t>(c)] >= clipLoudest - 15) {
      loud.push_back(levels[t]);
    } else if (clipLevels[static_cast<std::size_t>(c)] < clipLoudest - 40) {
      pauses.push_back(levels[t]);
    }
  }
  const double level = powerMean(loud);
  const std::vector<double>& quietParts = outside.size() >= 10 ? outside : pauses;
  const double quiet = quietParts.empty() ? -120 : SoundFeatures::percentile(quietParts, 0.1);
  details["level_db"] = std::round(level * 10) / 10;
  details["quiet_db"] = std::round(quiet * 10) / 10;
  if (level < kFloorDb || level - quiet < kAboveQuietDb) {
    return Verdict::fail("the test sound is too quiet in the recording (" + decibels(level) +
                             " dB, its surroundings " + decibels(quiet) + " dB)",
                         details);
  }
  return Verdict::pass(details);
}

}  // namespace quorvel
