#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class ISVCDecoder;

namespace quorvel {

// H.264 pictures decoded with OpenH264, from the samples of a QuickTime or MPEG-4 track
// (length-prefixed NAL units) and its avcC record, for a movie's first picture.
class H264Decoder {
 public:
  // A decoded picture as R, G, B rows.
  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;
  };

  ~H264Decoder();
  H264Decoder(const H264Decoder&) = delete;
  H264Decoder& operator=(const H264Decoder&) = delete;

  // Nothing when the record is not one or the decoder cannot start.
  static std::unique_ptr<H264Decoder> open(const std::vector<std::uint8_t>& avcConfiguration);

  // Decodes one sample; the picture once one is complete.
  std::optional<Picture> decode(const std::vector<std::uint8_t>& sample);

 private:
  H264Decoder(ISVCDecoder* decoder, int lengthBytes)
      : decoder_(decoder), lengthBytes_(lengthBytes) {}
  std::optional<Picture> feed(const std::vector<std::uint8_t>& annexB);

  ISVCDecoder* decoder_;
  const int lengthBytes_;
};

}  // namespace quorvel
