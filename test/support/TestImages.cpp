#include "support/TestImages.h"

#include <stdexcept>

#include "FfmpegHandles.h"
#include "support/MovieProbe.h"

namespace quorvel::testing {

std::vector<std::uint8_t> makePng(int width, int height) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  ffmpeg::CodecContext context(avcodec_alloc_context3(codec));
  ffmpeg::Frame frame(av_frame_alloc());
  ffmpeg::Packet packet(av_packet_alloc());
  frame->width = context->width = width;
  frame->height = context->height = height;
  frame->format = context->pix_fmt = AV_PIX_FMT_RGB24;
  context->time_base = AVRational{1, 1};
  if (avcodec_open2(context.get(), codec, nullptr) < 0 || av_frame_get_buffer(frame.get(), 0) < 0) {
    throw std::runtime_error("cannot set up the PNG encoder");
  }
  for (int y = 0; y < height; ++y) {
    std::uint8_t* row = frame->data[0] + y * frame->linesize[0];
    for (int x = 0; x < width; ++x) {
      row[3 * x] = static_cast<std::uint8_t>(255 * x / width);
      row[3 * x + 1] = static_cast<std::uint8_t>(255 * y / height);
      row[3 * x + 2] = static_cast<std::uint8_t>((x * y) % 256);
    }
  }
  if (avcodec_send_frame(context.get(), frame.get()) < 0 ||
      avcodec_send_frame(context.get(), nullptr) < 0 ||
      avcodec_receive_packet(context.get(), packet.get()) < 0) {
    throw std::runtime_error("cannot encode the PNG");
  }
  return {packet->data, packet->data + packet->size};
}

ImageSize decodedSize(const std::vector<std::uint8_t>& bytes) {
  auto picture = decodeStill(bytes);
  return picture ? ImageSize{picture->width, picture->height} : ImageSize{};
}

}  // namespace quorvel::testing
