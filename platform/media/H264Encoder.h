#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ISVCEncoder;

namespace quorvel {

class Yuv420Picture;

// H.264 on OpenH264, for pictures that arrive in real time: each picture leaves at once, in order
// (no look-ahead, no reordering), on one thread, and in less than half the memory x264 takes at
// the same size. No picture is skipped to keep a bit rate. Samples are length-prefixed NAL units,
// as QuickTime and MPEG-4 files keep them.
class H264Encoder {
 public:
  struct Sample {
    std::vector<std::uint8_t> data;
    std::int64_t time = 0;
    bool sync = false;
  };

  ~H264Encoder();
  H264Encoder(const H264Encoder&) = delete;
  H264Encoder& operator=(const H264Encoder&) = delete;

  // An encoder for pictures of width x height (even) whose moments count in 1/timescale s.
  static std::unique_ptr<H264Encoder> open(int width, int height, double framesPerSecond,
                                           std::uint32_t timescale, std::string& error);

  // The decoder configuration record (avcC) a file's sample description carries.
  const std::vector<std::uint8_t>& configuration() const { return configuration_; }

  // Encodes one picture; the sample it gives, if any yet. Nothing with error set on failure.
  std::optional<Sample> encode(Yuv420Picture& picture, std::int64_t time, std::string& error);

 private:
  explicit H264Encoder(ISVCEncoder* encoder) : encoder_(encoder) {}

  ISVCEncoder* encoder_;
  std::uint32_t timescale_ = 90000;
  std::vector<std::uint8_t> configuration_;
};

}  // namespace quorvel
