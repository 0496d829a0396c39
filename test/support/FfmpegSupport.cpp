#include "support/FfmpegSupport.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quorvel::ffmpeg {

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
  InputContext input(code < 0 ? nullptr : raw);  // a failed open has freed it
  if (code >= 0) code = avformat_find_stream_info(raw, nullptr);
  if (code >= 0) return input;
  if (error) *error = errorText(code);
  return nullptr;
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

}  // namespace quorvel::ffmpeg
