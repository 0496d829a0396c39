#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "media/SoundResampler.h"

namespace quorvel::testing {
namespace {

std::vector<std::int16_t> tone(double frequency, int rate, int frames, int channels = 1,
                               int silentChannel = -1) {
  std::vector<std::int16_t> samples(static_cast<std::size_t>(frames) * channels);
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      samples[static_cast<std::size_t>(i) * channels + c] =
          c == silentChannel
              ? 0
              : static_cast<std::int16_t>(10000 * std::sin(2 * M_PI * frequency * i / rate));
    }
  }
  return samples;
}

// Root-mean-square of one channel, away from the ends.
double level(const std::vector<std::int16_t>& samples, int channels = 1, int channel = 0) {
  const std::size_t frames = samples.size() / channels;
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t i = frames / 10; i < frames * 9 / 10; ++i, ++count) {
    const double v = samples[i * channels + channel];
    sum += v * v;
  }
  return std::sqrt(sum / static_cast<double>(count));
}

int upwardCrossings(const std::vector<std::int16_t>& samples) {
  int crossings = 0;
  for (std::size_t i = 1; i < samples.size(); ++i)
    crossings += samples[i - 1] < 0 && samples[i] >= 0;
  return crossings;
}

std::vector<std::int16_t> resample(int from, int to, const std::vector<std::int16_t>& in,
                                   std::size_t piece, int channels = 1) {
  SoundResampler resampler(from, to, channels);
  std::vector<std::int16_t> out;
  const std::size_t frames = in.size() / channels;
  for (std::size_t at = 0; at < frames; at += piece) {
    resampler.push(in.data() + at * channels, std::min(piece, frames - at), out);
  }
  resampler.finish(out);
  return out;
}

TEST(SoundResampler, DownKeepsPitchLevelAndLengthWhateverThePiecesAndLetsNothingAlias) {
  const auto in = tone(1000, 48000, 48000);
  const auto out = resample(48000, 12000, in, 777);
  ASSERT_EQ(out.size(), 12000u) << "one second in, one second out";
  EXPECT_EQ(out, resample(48000, 12000, in, in.size())) << "pieces change nothing";
  EXPECT_NEAR(upwardCrossings(out), 1000, 2);
  EXPECT_NEAR(level(out), level(in), level(in) * 0.03);
  // 9 kHz cannot exist at 12,000 Hz: it is filtered out, not folded down to 3 kHz.
  const auto high = resample(48000, 12000, tone(9000, 48000, 48000), 4096);
  EXPECT_LT(level(high), level(in) * 0.02);
}

TEST(SoundResampler, UpKeepsMomentsAndChannelsApart) {
  // A click at input frame 100, on the left only.
  std::vector<std::int16_t> click(2 * 1200, 0);
  click[200] = 20000;
  const auto out = resample(12000, 48000, click, 333, 2);
  ASSERT_EQ(out.size(), 2u * 4800);
  std::size_t loudest = 0;
  for (std::size_t i = 0; i < out.size() / 2; ++i) {
    if (std::abs(out[i * 2]) > std::abs(out[loudest * 2])) loudest = i;
    EXPECT_EQ(out[i * 2 + 1], 0) << "the right channel stays silent";
  }
  EXPECT_EQ(loudest, 400u) << "the click keeps its moment";

  const auto stereo = resample(22050, 48000, tone(440, 22050, 22050, 2, 1), 1000, 2);
  EXPECT_EQ(stereo.size(), 2u * 48000);
  EXPECT_NEAR(level(stereo, 2, 0), 10000 / std::sqrt(2.0), 300);
  EXPECT_EQ(level(stereo, 2, 1), 0);
  // The same rate passes the samples through untouched.
  const auto same = tone(440, 48000, 1000);
  EXPECT_EQ(resample(48000, 48000, same, 100), same);
}

}  // namespace
}  // namespace quorvel::testing
