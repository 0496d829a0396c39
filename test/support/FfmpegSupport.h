#pragma once

// FFmpeg for the tests: an independent reader of what the media adapters write (owning handles,
// reading from memory, and the one place that knows which FFmpeg version moved what).

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorvel::ffmpeg {

// For FFmpeg's free functions that take the address of the pointer and clear it.
template <auto Free>
struct Deleter {
  template <typename T>
  void operator()(T* p) const {
    Free(&p);
  }
};

struct SwsDeleter {
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};
struct AvioDeleter {
  void operator()(AVIOContext* p) const;
};

using InputContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;
using Scaler = std::unique_ptr<SwsContext, SwsDeleter>;

// A container read from bytes in memory. The bytes must outlive it.
class MemoryInput {
 public:
  // Null format() when the bytes are not a container FFmpeg reads.
  explicit MemoryInput(const std::vector<std::uint8_t>& bytes);
  AVFormatContext* format() const { return format_.get(); }

 private:
  static int read(void* opaque, std::uint8_t* buffer, int size);
  static std::int64_t seek(void* opaque, std::int64_t offset, int whence);

  const std::vector<std::uint8_t>& bytes_;
  std::size_t position_ = 0;
  std::unique_ptr<AVIOContext, AvioDeleter> io_;
  InputContext format_;  // released before the I/O context it reads through
};

// Opens path for reading with its stream information; null when it is not a readable container.
InputContext openInput(const std::string& path, std::string* error = nullptr);

// A decoder opened for stream index of format; null when FFmpeg has none.
CodecContext openDecoder(const AVFormatContext& format, int index);

// The first frame decoded from the best video stream, and that stream's index.
Frame firstVideoFrame(AVFormatContext& format, int* streamIndex = nullptr);

// FFmpeg's text for an error code.
std::string errorText(int code);

}  // namespace quorvel::ffmpeg
