#pragma once

#include <cstdint>
#include <vector>

namespace quorvel {

// Converts interleaved 16-bit sound from one rate to another as it streams in: a windowed-sinc
// low-pass at the lower rate's edge (no aliasing when the rate goes down), aligned so that the
// first sample out is the first one in, and exactly as long as what went in once finished.
class SoundResampler {
 public:
  SoundResampler(int inputRate, int outputRate, int channels);

  // Appends to `out` what the samples given so far make.
  void push(const std::int16_t* samples, std::size_t frameCount, std::vector<std::int16_t>& out);
  // Appends the rest: the end of the sound, whose filter reaches past it.
  void finish(std::vector<std::int16_t>& out);

 private:
  void produce(std::vector<std::int16_t>& out, bool ending);

  const int inputRate_;
  const int outputRate_;
  const int channels_;
  int halfWidth_ = 0;           // input samples on each side of an output moment
  std::vector<float> kernel_;   // kPhases rows of 2 * halfWidth_ taps
  std::vector<float> pending_;  // input not yet behind every output moment, interleaved
  std::uint64_t consumed_ = 0;  // input frames dropped from the front of pending_
  std::uint64_t taken_ = 0;     // input frames given
  std::uint64_t made_ = 0;      // output frames made
};

}  // namespace quorvel
