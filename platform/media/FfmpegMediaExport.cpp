#include "media/FfmpegMediaExport.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <thread>

#include "media/FfmpegSupport.h"
#include "media/IsoIndexFirst.h"

namespace quorvel {

namespace {

using namespace ffmpeg;
namespace fs = std::filesystem;

std::optional<std::string> remux(const std::string& moviePath, const std::string& mp4Path) {
  std::error_code failure;
  if (!fs::is_regular_file(moviePath, failure)) return "there is no movie at " + moviePath;
  return writeIndexFirst(moviePath, mp4Path, IsoMovieFile::Brand::mpeg4);
}

// RGB24 pixels turned clockwise by quarter turns.
std::vector<std::uint8_t> turned(const std::vector<std::uint8_t>& rgb, int& width, int& height,
                                 int quarterTurns) {
  if (quarterTurns == 0) return rgb;
  const int w = width;
  const int h = height;
  const bool sideways = quarterTurns % 2 == 1;
  const int outWidth = sideways ? h : w;
  std::vector<std::uint8_t> out(rgb.size());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      int tx = x, ty = y;
      if (quarterTurns == 1) {
        tx = h - 1 - y;
        ty = x;
      } else if (quarterTurns == 2) {
        tx = w - 1 - x;
        ty = h - 1 - y;
      } else if (quarterTurns == 3) {
        tx = y;
        ty = w - 1 - x;
      }
      const std::uint8_t* source = &rgb[static_cast<std::size_t>((y * w + x) * 3)];
      std::copy_n(source, 3, &out[static_cast<std::size_t>((ty * outWidth + tx) * 3)]);
    }
  }
  if (sideways) std::swap(width, height);
  return out;
}

std::optional<std::vector<std::uint8_t>> encodePng(const std::vector<std::uint8_t>& rgb, int width,
                                                   int height) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (codec == nullptr) return std::nullopt;
  CodecContext context(avcodec_alloc_context3(codec));
  Frame frame(av_frame_alloc());
  Packet packet(av_packet_alloc());
  if (!context || !frame || !packet) return std::nullopt;
  context->width = width;
  context->height = height;
  context->pix_fmt = AV_PIX_FMT_RGB24;
  context->time_base = AVRational{1, 1};
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return std::nullopt;
  frame->format = AV_PIX_FMT_RGB24;
  frame->width = width;
  frame->height = height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) return std::nullopt;
  for (int y = 0; y < height; ++y) {
    std::copy_n(&rgb[static_cast<std::size_t>(y * width * 3)], width * 3,
                frame->data[0] + y * frame->linesize[0]);
  }
  if (avcodec_send_frame(context.get(), frame.get()) < 0 ||
      avcodec_send_frame(context.get(), nullptr) < 0 ||
      avcodec_receive_packet(context.get(), packet.get()) < 0) {
    return std::nullopt;
  }
  return std::vector<std::uint8_t>(packet->data, packet->data + packet->size);
}

}  // namespace

void FfmpegMediaExport::exportMP4(
    const std::string& moviePath, const std::string& mp4Path,
    std::function<void(std::optional<std::string> error)> completion) {
  auto work = [moviePath, mp4Path, completion] { completion(remux(moviePath, mp4Path)); };
  try {
    // Detached: the thread owns all it uses and ends when the completion returns.
    std::thread(std::move(work)).detach();
  } catch (const std::system_error& error) {
    completion(std::string("cannot start the export: ") + error.what());
  }
}

std::optional<Image> FfmpegMediaExport::thumbnail(const std::string& moviePath) {
  constexpr int kLongSide = 640;
  InputContext input = openInput(moviePath);
  if (!input) return std::nullopt;
  int index = -1;
  Frame frame = firstVideoFrame(*input, &index);
  if (!frame || frame->width <= 0 || frame->height <= 0) return std::nullopt;

  // Scaled before turning and encoding: a full-size PNG of a noisy frame takes a second.
  const double scale = std::min(1.0, double(kLongSide) / std::max(frame->width, frame->height));
  int width = std::max(1, static_cast<int>(std::lround(frame->width * scale)));
  int height = std::max(1, static_cast<int>(std::lround(frame->height * scale)));
  Scaler scaler(sws_getContext(frame->width, frame->height,
                               static_cast<AVPixelFormat>(frame->format), width, height,
                               AV_PIX_FMT_RGB24, SWS_AREA, nullptr, nullptr, nullptr));
  if (!scaler) return std::nullopt;
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width * height * 3));
  std::uint8_t* planes[4] = {rgb.data(), nullptr, nullptr, nullptr};
  int strides[4] = {width * 3, 0, 0, 0};
  sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, planes, strides);

  rgb = turned(rgb, width, height, uprightQuarterTurns(*input->streams[index]));
  auto png = encodePng(rgb, width, height);
  if (!png) return std::nullopt;
  return Image::encoded(std::move(*png));
}

}  // namespace quorvel
