#include "media/H264Decoder.h"

#include <wels/codec_api.h>

#include <algorithm>

namespace quorvel {

namespace {

constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};

std::uint8_t clampByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace

H264Decoder::~H264Decoder() {
  decoder_->Uninitialize();
  WelsDestroyDecoder(decoder_);
}

std::unique_ptr<H264Decoder> H264Decoder::open(const std::vector<std::uint8_t>& record) {
  // avcC: version, profile, compatibility, level, length size, SPS count, SPSs, PPS count, PPSs.
  if (record.size() < 7 || record[0] != 1) return nullptr;
  std::vector<std::uint8_t> parameterSets;
  std::size_t at = 5;
  for (int kind = 0; kind < 2; ++kind) {
    if (at >= record.size()) return nullptr;
    const int count = kind == 0 ? record[at] & 0x1F : record[at];
    ++at;
    for (int i = 0; i < count; ++i) {
      if (at + 2 > record.size()) return nullptr;
      const std::size_t length = static_cast<std::size_t>(record[at] << 8 | record[at + 1]);
      at += 2;
      if (at + length > record.size()) return nullptr;
      parameterSets.insert(parameterSets.end(), std::begin(kStartCode), std::end(kStartCode));
      parameterSets.insert(parameterSets.end(), record.begin() + static_cast<long>(at),
                           record.begin() + static_cast<long>(at + length));
      at += length;
    }
  }
  ISVCDecoder* raw = nullptr;
  if (WelsCreateDecoder(&raw) != 0 || raw == nullptr) return nullptr;
  int quiet = WELS_LOG_QUIET;
  raw->SetOption(DECODER_OPTION_TRACE_LEVEL, &quiet);
  SDecodingParam parameters{};
  parameters.sVideoProperty.eVideoBsType = VIDEO_BITSTREAM_AVC;
  if (raw->Initialize(&parameters) != 0) {
    WelsDestroyDecoder(raw);
    return nullptr;
  }
  std::unique_ptr<H264Decoder> decoder(new H264Decoder(raw, (record[4] & 3) + 1));
  decoder->feed(parameterSets);
  return decoder;
}

std::optional<H264Decoder::Picture> H264Decoder::decode(const std::vector<std::uint8_t>& sample) {
  std::vector<std::uint8_t> annexB;
  annexB.reserve(sample.size() + 16);
  for (std::size_t at = 0; at + static_cast<std::size_t>(lengthBytes_) <= sample.size();) {
    std::size_t length = 0;
    for (int i = 0; i < lengthBytes_; ++i) length = length << 8 | sample[at + i];
    at += static_cast<std::size_t>(lengthBytes_);
    if (length > sample.size() - at) return std::nullopt;
    annexB.insert(annexB.end(), std::begin(kStartCode), std::end(kStartCode));
    annexB.insert(annexB.end(), sample.begin() + static_cast<long>(at),
                  sample.begin() + static_cast<long>(at + length));
    at += length;
  }
  return feed(annexB);
}

std::optional<H264Decoder::Picture> H264Decoder::feed(const std::vector<std::uint8_t>& annexB) {
  std::uint8_t* planes[3] = {nullptr, nullptr, nullptr};
  SBufferInfo information{};
  if (decoder_->DecodeFrameNoDelay(annexB.data(), static_cast<int>(annexB.size()), planes,
                                   &information) != dsErrorFree ||
      information.iBufferStatus != 1) {
    return std::nullopt;
  }
  const SSysMEMBuffer& buffer = information.UsrData.sSystemBuffer;
  Picture picture{buffer.iWidth, buffer.iHeight, {}};
  picture.rgb.resize(static_cast<std::size_t>(picture.width) * picture.height * 3);
  // BT.601, limited range, as the encoders here write it.
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* luma = planes[0] + static_cast<std::ptrdiff_t>(y) * buffer.iStride[0];
    const std::uint8_t* blue = planes[1] + static_cast<std::ptrdiff_t>(y / 2) * buffer.iStride[1];
    const std::uint8_t* red = planes[2] + static_cast<std::ptrdiff_t>(y / 2) * buffer.iStride[1];
    std::uint8_t* out = &picture.rgb[static_cast<std::size_t>(y) * picture.width * 3];
    for (int x = 0; x < picture.width; ++x) {
      const int c = 298 * (luma[x] - 16);
      const int d = blue[x / 2] - 128;
      const int e = red[x / 2] - 128;
      out[x * 3] = clampByte((c + 409 * e + 128) >> 8);
      out[x * 3 + 1] = clampByte((c - 100 * d - 208 * e + 128) >> 8);
      out[x * 3 + 2] = clampByte((c + 516 * d + 128) >> 8);
    }
  }
  return picture;
}

}  // namespace quorvel
