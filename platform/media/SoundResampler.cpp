#include "media/SoundResampler.h"

#include <algorithm>
#include <cmath>

namespace quorvel {

namespace {

constexpr int kPhases = 256;
constexpr int kZeroCrossings = 12;  // on each side, at the lower rate
constexpr double kPassBand = 0.92;  // of the lower rate's half

std::int16_t toSample(double value) {
  return static_cast<std::int16_t>(std::lround(std::clamp(value, -32768.0, 32767.0)));
}

}  // namespace

SoundResampler::SoundResampler(int inputRate, int outputRate, int channels)
    : inputRate_(inputRate), outputRate_(outputRate), channels_(channels) {
  if (inputRate_ == outputRate_) return;
  // The cut-off in cycles per input sample; going down it follows the output's rate.
  const double cutoff = 0.5 * kPassBand * std::min(1.0, double(outputRate_) / inputRate_);
  halfWidth_ = static_cast<int>(std::ceil(kZeroCrossings / (2 * cutoff)));
  const int taps = 2 * halfWidth_;
  kernel_.resize(static_cast<std::size_t>(kPhases) * taps);
  for (int phase = 0; phase < kPhases; ++phase) {
    const double fraction = double(phase) / kPhases;
    for (int tap = 0; tap < taps; ++tap) {
      // Distance from the output moment to input sample (tap - halfWidth_ + 1).
      const double d = (tap - halfWidth_ + 1) - fraction;
      const double x = 2 * cutoff * d;
      const double sinc = std::abs(x) < 1e-9 ? 1.0 : std::sin(M_PI * x) / (M_PI * x);
      const double w = d / halfWidth_;
      const double window = std::abs(w) >= 1 ? 0.0 : 0.5 * (1 + std::cos(M_PI * w));  // Hann
      kernel_[static_cast<std::size_t>(phase) * taps + tap] =
          static_cast<float>(2 * cutoff * sinc * window);
    }
  }
  // Silence before the start, so the first output moment has its past.
  pending_.assign(static_cast<std::size_t>(halfWidth_ - 1) * channels_, 0.0f);
}

void SoundResampler::push(const std::int16_t* samples, std::size_t frameCount,
                          std::vector<std::int16_t>& out) {
  if (inputRate_ == outputRate_) {
    out.insert(out.end(), samples, samples + frameCount * channels_);
    return;
  }
  pending_.insert(pending_.end(), samples, samples + frameCount * channels_);
  taken_ += frameCount;
  produce(out, false);
}

void SoundResampler::finish(std::vector<std::int16_t>& out) {
  if (inputRate_ == outputRate_) return;
  produce(out, true);
}

void SoundResampler::produce(std::vector<std::int16_t>& out, bool ending) {
  const int taps = 2 * halfWidth_;
  // Output frame k sits at input position k * in / out and needs input up to halfWidth_ past it.
  const std::uint64_t total = (taken_ * outputRate_ + inputRate_ / 2) / inputRate_;
  const auto available = [&] { return pending_.size() / channels_; };
  for (;;) {
    if (ending && made_ >= total) break;
    const std::uint64_t numerator = made_ * static_cast<std::uint64_t>(inputRate_);
    const std::uint64_t whole = numerator / outputRate_;
    const int phase = static_cast<int>((numerator % outputRate_) * kPhases / outputRate_);
    // The taps reach from input frame whole - halfWidth_ + 1, which pending_ holds at this index
    // (it starts at input frame consumed_ - halfWidth_ + 1).
    const auto start = static_cast<std::size_t>(whole - consumed_);
    if (start + taps > available()) {
      if (!ending) break;
      pending_.resize(pending_.size() + static_cast<std::size_t>(taps) * channels_, 0.0f);
    }
    const float* row = &kernel_[static_cast<std::size_t>(phase) * taps];
    for (int c = 0; c < channels_; ++c) {
      double sum = 0;
      const float* in = &pending_[start * channels_ + c];
      for (int tap = 0; tap < taps; ++tap) sum += row[tap] * in[tap * channels_];
      out.push_back(toSample(sum));
    }
    ++made_;
  }
  // Drop what no later output moment reaches.
  const std::uint64_t next = made_ * static_cast<std::uint64_t>(inputRate_) / outputRate_;
  if (next > consumed_ + 4096) {
    const std::size_t drop = static_cast<std::size_t>(next - consumed_);
    pending_.erase(pending_.begin(),
                   pending_.begin() + static_cast<std::ptrdiff_t>(drop * channels_));
    consumed_ = next;
  }
}

}  // namespace quorvel
