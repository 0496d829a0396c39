#pragma once

// The media adapters' shared FFmpeg plumbing: owning handles, reading from memory, and the one
// place that knows which FFmpeg version moved what.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
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

struct OutputDeleter {
  void operator()(AVFormatContext* context) const;
};
struct SwsDeleter {
  void operator()(SwsContext* p) const { sws_freeContext(p); }
};
struct FifoDeleter {
  void operator()(AVAudioFifo* p) const { av_audio_fifo_free(p); }
};
struct AvioDeleter {
  void operator()(AVIOContext* p) const;
};

using InputContext = std::unique_ptr<AVFormatContext, Deleter<avformat_close_input>>;
// A muxer's context with its file, closed (not finished) on release.
using OutputContext = std::unique_ptr<AVFormatContext, OutputDeleter>;
using CodecContext = std::unique_ptr<AVCodecContext, Deleter<avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, Deleter<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Deleter<av_packet_free>>;
using Scaler = std::unique_ptr<SwsContext, SwsDeleter>;
using Resampler = std::unique_ptr<SwrContext, Deleter<swr_free>>;
using AudioFifo = std::unique_ptr<AVAudioFifo, FifoDeleter>;

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

// Stream side data (the display matrix among it) moved into the codec parameters in FFmpeg 6.1.
void copyStreamSideData(const AVStream& from, AVStream& to);
// The stream's display matrix (nine 16.16 / 2.30 values), or null.
const std::int32_t* displayMatrix(const AVStream& stream);
// Clockwise quarter turns that make the stream's picture upright (0...3).
int uprightQuarterTurns(const AVStream& stream);

}  // namespace quorvel::ffmpeg
