#pragma once

// Owning handles of FFmpeg's objects, for the judges and for the tests' independent reader and
// writer of media.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
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

struct ScalerDeleter {
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};

using InputContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;
using Resampler = std::unique_ptr<SwrContext, Deleter<swr_free>>;
using Scaler = std::unique_ptr<SwsContext, ScalerDeleter>;

}  // namespace quorvel::ffmpeg
