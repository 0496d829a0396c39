#include "media/FfmpegImageEncoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>

#include "media/FfmpegSupport.h"

namespace quorvel {

namespace {

using ffmpeg::Frame;
using ffmpeg::Packet;

// avcodec_free_context releases intra_matrix but, in FFmpeg 5, not chroma_intra_matrix.
struct EncoderContextDeleter {
  void operator()(AVCodecContext* context) const {
    av_freep(&context->chroma_intra_matrix);
    avcodec_free_context(&context);
  }
};
using EncoderContext = std::unique_ptr<AVCodecContext, EncoderContextDeleter>;

Frame decodeFirstFrame(const std::vector<std::uint8_t>& bytes) {
  ffmpeg::MemoryInput input(bytes);
  if (input.format() == nullptr) return nullptr;
  return ffmpeg::firstVideoFrame(*input.format());
}

// The JPEG standard's example tables (natural order), which libjpeg scales by its quality.
constexpr std::array<int, 64> kLuminance = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};
constexpr std::array<int, 64> kChrominance = {
    17, 18, 24, 47, 99, 99, 99, 99, 18, 21, 26, 66, 99, 99, 99, 99, 24, 26, 56, 99, 99, 99,
    99, 99, 47, 66, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99,
    99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};

// libjpeg's quality scaling, as an av_malloc'd matrix the codec context takes ownership of.
std::uint16_t* scaledMatrix(const std::array<int, 64>& base, double quality) {
  int percent = static_cast<int>(std::lround(std::clamp(quality, 0.01, 1.0) * 100));
  int scale = percent < 50 ? 5000 / percent : 200 - 2 * percent;
  auto* matrix = static_cast<std::uint16_t*>(av_malloc(64 * sizeof(std::uint16_t)));
  if (matrix == nullptr) return nullptr;
  for (std::size_t i = 0; i < 64; ++i) {
    matrix[i] = static_cast<std::uint16_t>(std::clamp((base[i] * scale + 50) / 100, 1, 255));
  }
  return matrix;
}

std::optional<std::vector<std::uint8_t>> encodeJpeg(const AVFrame& source, double quality) {
  const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
  if (encoder == nullptr || source.width <= 0 || source.height <= 0) return std::nullopt;
  EncoderContext context(avcodec_alloc_context3(encoder));
  if (!context) return std::nullopt;
  context->width = source.width;
  context->height = source.height;
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  context->color_range = AVCOL_RANGE_JPEG;
  context->time_base = AVRational{1, 1};
  // The encoder writes matrix * qscale / 8, so qscale 8 puts libjpeg's tables in the file as
  // they are (the DC step stays the encoder's own).
  context->intra_matrix = scaledMatrix(kLuminance, quality);
  context->chroma_intra_matrix = scaledMatrix(kChrominance, quality);
  if (context->intra_matrix == nullptr || context->chroma_intra_matrix == nullptr) {
    return std::nullopt;
  }
  context->flags |= AV_CODEC_FLAG_QSCALE;
  context->global_quality = FF_QP2LAMBDA * 8;
  if (avcodec_open2(context.get(), encoder, nullptr) < 0) return std::nullopt;

  Frame converted(av_frame_alloc());
  if (!converted) return std::nullopt;
  converted->format = AV_PIX_FMT_YUV420P;
  converted->width = source.width;
  converted->height = source.height;
  converted->color_range = AVCOL_RANGE_JPEG;
  if (av_frame_get_buffer(converted.get(), 0) < 0) return std::nullopt;
  ffmpeg::Scaler scaler(sws_getContext(
      source.width, source.height, static_cast<AVPixelFormat>(source.format), source.width,
      source.height, AV_PIX_FMT_YUV420P, SWS_BICUBIC, nullptr, nullptr, nullptr));
  if (!scaler) return std::nullopt;
  // Full-range output, as JPEG files are.
  const int* coefficients = sws_getCoefficients(SWS_CS_DEFAULT);
  sws_setColorspaceDetails(scaler.get(), coefficients, source.color_range == AVCOL_RANGE_JPEG,
                           coefficients, 1, 0, 1 << 16, 1 << 16);
  sws_scale(scaler.get(), source.data, source.linesize, 0, source.height, converted->data,
            converted->linesize);
  converted->quality = context->global_quality;
  converted->pts = 0;

  Packet packet(av_packet_alloc());
  if (!packet || avcodec_send_frame(context.get(), converted.get()) < 0 ||
      avcodec_send_frame(context.get(), nullptr) < 0 ||
      avcodec_receive_packet(context.get(), packet.get()) < 0) {
    return std::nullopt;
  }
  return std::vector<std::uint8_t>(packet->data, packet->data + packet->size);
}

}  // namespace

std::optional<std::vector<std::uint8_t>> FfmpegImageEncoder::jpegData(
    const Image& image, double compressionQuality) const {
  std::vector<std::uint8_t> fromFile;
  const std::vector<std::uint8_t>* bytes = &image.bytes;
  if (image.kind == Image::Kind::asset) return std::nullopt;
  if (image.kind == Image::Kind::file) {
    std::ifstream file(image.name, std::ios::binary);
    if (!file) return std::nullopt;
    fromFile.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    bytes = &fromFile;
  }
  if (bytes->empty()) return std::nullopt;
  Frame frame = decodeFirstFrame(*bytes);
  if (!frame) return std::nullopt;
  return encodeJpeg(*frame, compressionQuality);
}

}  // namespace quorvel
