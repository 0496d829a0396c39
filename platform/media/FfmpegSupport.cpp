#include "media/FfmpegSupport.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quorvel::ffmpeg {

void OutputDeleter::operator()(AVFormatContext* context) const {
  if (!(context->oformat->flags & AVFMT_NOFILE)) avio_closep(&context->pb);
  avformat_free_context(context);
}

void AvioDeleter::operator()(AVIOContext* p) const {
  av_freep(&p->buffer);
  avio_context_free(&p);
}

MemoryInput::MemoryInput(const std::vector<std::uint8_t>& bytes) : bytes_(bytes) {
  constexpr int bufferSize = 64 * 1024;
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(bufferSize));
  if (buffer == nullptr) return;
  io_.reset(avio_alloc_context(buffer, bufferSize, 0, this, &MemoryInput::read, nullptr,
                               &MemoryInput::seek));
  if (!io_) {
    av_free(buffer);
    return;
  }
  AVFormatContext* raw = avformat_alloc_context();
  if (raw == nullptr) return;
  raw->pb = io_.get();
  raw->flags |= AVFMT_FLAG_CUSTOM_IO;
  if (avformat_open_input(&raw, nullptr, nullptr, nullptr) < 0) return;  // frees raw
  format_.reset(raw);
  if (avformat_find_stream_info(raw, nullptr) < 0) format_.reset();
}

int MemoryInput::read(void* opaque, std::uint8_t* buffer, int size) {
  auto* self = static_cast<MemoryInput*>(opaque);
  std::size_t left = self->bytes_.size() - self->position_;
  if (left == 0) return AVERROR_EOF;
  std::size_t n = std::min<std::size_t>(left, static_cast<std::size_t>(size));
  std::memcpy(buffer, self->bytes_.data() + self->position_, n);
  self->position_ += n;
  return static_cast<int>(n);
}

std::int64_t MemoryInput::seek(void* opaque, std::int64_t offset, int whence) {
  auto* self = static_cast<MemoryInput*>(opaque);
  auto size = static_cast<std::int64_t>(self->bytes_.size());
  if (whence == AVSEEK_SIZE) return size;
  std::int64_t base = 0;
  if ((whence & ~AVSEEK_FORCE) == SEEK_CUR) base = static_cast<std::int64_t>(self->position_);
  if ((whence & ~AVSEEK_FORCE) == SEEK_END) base = size;
  std::int64_t target = base + offset;
  if (target < 0 || target > size) return -1;
  self->position_ = static_cast<std::size_t>(target);
  return target;
}

InputContext openInput(const std::string& path, std::string* error) {
  AVFormatContext* raw = nullptr;
  int code = avformat_open_input(&raw, path.c_str(), nullptr, nullptr);
  if (code < 0) {
    if (error) *error = errorText(code);
    return nullptr;
  }
  InputContext input(raw);
  code = avformat_find_stream_info(raw, nullptr);
  if (code < 0) {
    if (error) *error = errorText(code);
    return nullptr;
  }
  return input;
}

CodecContext openDecoder(const AVFormatContext& format, int index) {
  const AVCodecParameters* parameters = format.streams[index]->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
  if (decoder == nullptr) return nullptr;
  CodecContext context(avcodec_alloc_context3(decoder));
  if (!context || avcodec_parameters_to_context(context.get(), parameters) < 0 ||
      avcodec_open2(context.get(), decoder, nullptr) < 0) {
    return nullptr;
  }
  return context;
}

Frame firstVideoFrame(AVFormatContext& format, int* streamIndex) {
  int index = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return nullptr;
  if (streamIndex) *streamIndex = index;
  CodecContext context = openDecoder(format, index);
  Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  if (!context || !packet || !frame) return nullptr;
  while (av_read_frame(&format, packet.get()) >= 0) {
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

std::string errorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

// FFmpeg 6.1 keeps side data in the codec parameters, which avcodec_parameters_copy carries;
// before it the stream holds it. The channel layouts used here are the AVChannelLayout API that
// 5.1 brought and 7.0 kept, so they need nothing of the kind.
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 31, 102)
void copyStreamSideData(const AVStream&, AVStream&) {}

const std::int32_t* displayMatrix(const AVStream& stream) {
  const AVPacketSideData* data =
      av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data,
                              AV_PKT_DATA_DISPLAYMATRIX);
  if (data == nullptr || data->size < 9 * sizeof(std::int32_t)) return nullptr;
  return reinterpret_cast<const std::int32_t*>(data->data);
}
#else
void copyStreamSideData(const AVStream& from, AVStream& to) {
  for (int i = 0; i < from.nb_side_data; ++i) {
    const AVPacketSideData& data = from.side_data[i];
    std::uint8_t* copy = av_stream_new_side_data(&to, data.type, data.size);
    if (copy != nullptr) std::memcpy(copy, data.data, data.size);
  }
}

const std::int32_t* displayMatrix(const AVStream& stream) {
  std::size_t size = 0;
  const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (data == nullptr || size < 9 * sizeof(std::int32_t)) return nullptr;
  return reinterpret_cast<const std::int32_t*>(data);
}
#endif

int uprightQuarterTurns(const AVStream& stream) {
  const std::int32_t* matrix = displayMatrix(stream);
  if (matrix == nullptr) return 0;
  // The matrix turns the picture counterclockwise by this angle; undo it, as players do.
  double angle = av_display_rotation_get(matrix);
  if (std::isnan(angle)) return 0;
  long turns = std::lround(-angle / 90.0);
  return static_cast<int>(((turns % 4) + 4) % 4);
}

}  // namespace quorvel::ffmpeg
