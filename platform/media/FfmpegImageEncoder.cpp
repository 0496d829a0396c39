#include "media/FfmpegImageEncoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>

namespace quorvel {

namespace {

template <auto Free>
struct Deleter {
  template <typename T>
  void operator()(T* p) const {
    Free(&p);
  }
};

using FormatContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;

// avcodec_free_context releases intra_matrix but, in FFmpeg 5, not chroma_intra_matrix.
struct EncoderContextDeleter {
  void operator()(AVCodecContext* context) const {
    av_freep(&context->chroma_intra_matrix);
    avcodec_free_context(&context);
  }
};
using EncoderContext = std::unique_ptr<AVCodecContext, EncoderContextDeleter>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;

struct SwsDeleter {
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};

// The encoded bytes being read by libavformat.
struct MemoryReader {
  const std::vector<std::uint8_t>* bytes;
  std::size_t position = 0;

  static int read(void* opaque, std::uint8_t* buffer, int size) {
    auto* self = static_cast<MemoryReader*>(opaque);
    std::size_t left = self->bytes->size() - self->position;
    if (left == 0) return AVERROR_EOF;
    std::size_t n = std::min<std::size_t>(left, static_cast<std::size_t>(size));
    std::memcpy(buffer, self->bytes->data() + self->position, n);
    self->position += n;
    return static_cast<int>(n);
  }

  static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
    auto* self = static_cast<MemoryReader*>(opaque);
    auto size = static_cast<std::int64_t>(self->bytes->size());
    if (whence == AVSEEK_SIZE) return size;
    std::int64_t base = 0;
    if ((whence & ~AVSEEK_FORCE) == SEEK_CUR) base = static_cast<std::int64_t>(self->position);
    if ((whence & ~AVSEEK_FORCE) == SEEK_END) base = size;
    std::int64_t target = base + offset;
    if (target < 0 || target > size) return -1;
    self->position = static_cast<std::size_t>(target);
    return target;
  }
};

struct AvioDeleter {
  void operator()(AVIOContext* p) const {
    av_freep(&p->buffer);
    avio_context_free(&p);
  }
};

Frame decodeFirstFrame(const std::vector<std::uint8_t>& bytes) {
  MemoryReader reader{&bytes};
  constexpr int bufferSize = 64 * 1024;
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferSize));
  if (buffer == nullptr) return nullptr;
  std::unique_ptr<AVIOContext, AvioDeleter> io(avio_alloc_context(
      buffer, bufferSize, 0, &reader, &MemoryReader::read, nullptr, &MemoryReader::seek));
  if (!io) {
    av_free(buffer);
    return nullptr;
  }
  AVFormatContext* raw = avformat_alloc_context();
  if (raw == nullptr) return nullptr;
  raw->pb = io.get();
  raw->flags |= AVFMT_FLAG_CUSTOM_IO;
  if (avformat_open_input(&raw, nullptr, nullptr, nullptr) < 0) return nullptr;  // frees raw
  FormatContext format(raw);
  if (avformat_find_stream_info(format.get(), nullptr) < 0) return nullptr;
  int index = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return nullptr;
  const AVCodec* decoder = avcodec_find_decoder(format->streams[index]->codecpar->codec_id);
  if (decoder == nullptr) return nullptr;
  CodecContext context(avcodec_alloc_context3(decoder));
  if (!context ||
      avcodec_parameters_to_context(context.get(), format->streams[index]->codecpar) < 0 ||
      avcodec_open2(context.get(), decoder, nullptr) < 0) {
    return nullptr;
  }
  Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  if (!packet || !frame) return nullptr;
  while (av_read_frame(format.get(), packet.get()) >= 0) {
    bool ours = packet->stream_index == index;
    int sent = ours ? avcodec_send_packet(context.get(), packet.get()) : 0;
    av_packet_unref(packet.get());
    if (sent < 0) return nullptr;
    if (ours && avcodec_receive_frame(context.get(), frame.get()) == 0) return frame;
  }
  avcodec_send_packet(context.get(), nullptr);
  if (avcodec_receive_frame(context.get(), frame.get()) == 0) return frame;
  return nullptr;
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
  std::unique_ptr<SwsContext, SwsDeleter> scaler(sws_getContext(
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
