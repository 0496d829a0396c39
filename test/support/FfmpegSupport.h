#pragma once

// FFmpeg for the tests: owning handles for an independent reader and writer of the media that the
// adapters make.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace quorvel::ffmpeg {

// For FFmpeg's free functions that take the address of the pointer and clear it.
template <auto Free>
struct Deleter {
  template <typename T>
  void operator()(T* p) const {
    Free(&p);
  }
};

using InputContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;

}  // namespace quorvel::ffmpeg
