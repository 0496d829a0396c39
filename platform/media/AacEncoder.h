#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// AAC-LC on VisualOn's encoder: whole frames of 16-bit interleaved samples in, one raw AAC frame
// out for each. Its output is late by kPriming samples, which a file's edit list skips; to get
// every sample out, feed silence until kPriming more have gone in.
class AacEncoder {
 public:
  static constexpr int kFrameSamples = 1024;
  static constexpr int kPriming = 1600;

  ~AacEncoder();
  AacEncoder(const AacEncoder&) = delete;
  AacEncoder& operator=(const AacEncoder&) = delete;

  // Nothing with error set for a rate AAC has no index for, or channels other than 1 and 2.
  static std::unique_ptr<AacEncoder> open(int sampleRate, int channels, std::string& error);

  // The AudioSpecificConfig a file's sample description carries.
  const std::vector<std::uint8_t>& audioSpecificConfig() const { return config_; }
  std::uint32_t bitRate() const { return bitRate_; }

  // Encodes kFrameSamples frames of interleaved samples; nothing with error set on failure.
  std::optional<std::vector<std::uint8_t>> encode(const std::int16_t* samples, std::string& error);

 private:
  AacEncoder() = default;

  struct Codec;
  std::unique_ptr<Codec> codec_;
  int channels_ = 1;
  std::uint32_t bitRate_ = 0;
  std::vector<std::uint8_t> config_;
};

}  // namespace quorvel
