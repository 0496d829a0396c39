#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct x264_t x264_t;

namespace quorvel {

class Yuv420Picture;

// H.264 on x264, for pictures that arrive in real time: its quick preset, no look-ahead and no
// reordering (each picture leaves at once, in order), one thread, as little memory as it needs.
// Samples are length-prefixed NAL units, as QuickTime and MPEG-4 files keep them.
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
  // What the encoder still holds, at the end.
  std::vector<Sample> flush(std::string& error);

 private:
  explicit H264Encoder(x264_t* encoder) : encoder_(encoder) {}

  x264_t* encoder_;
  std::vector<std::uint8_t> configuration_;
};

}  // namespace quorvel
