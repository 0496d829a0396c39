#include "media/FfmpegMediaExport.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <thread>

#include "media/FfmpegSupport.h"

namespace quorvel {

namespace {

using namespace ffmpeg;
namespace fs = std::filesystem;

// The streams `ffmpeg` maps by default: the best picture and the best sound.
std::vector<int> streamsToCopy(AVFormatContext& input) {
  std::vector<int> chosen;
  for (AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
    int index = av_find_best_stream(&input, type, -1, -1, nullptr, 0);
    if (index >= 0) chosen.push_back(index);
  }
  std::sort(chosen.begin(), chosen.end());
  return chosen;
}

// Copies the chosen streams of input into a new MP4 at path, as `ffmpeg -c copy` does; errors
// name the file as the caller knows it.
std::optional<std::string> writeCopy(AVFormatContext& input, const std::vector<int>& chosen,
                                     const std::string& path, const std::string& shownPath) {
  const std::string cannotWrite = "cannot write " + shownPath + ": ";
  AVFormatContext* raw = nullptr;
  int code = avformat_alloc_output_context2(&raw, nullptr, "mp4", path.c_str());
  if (code < 0) return cannotWrite + errorText(code);
  OutputContext output(raw);
  std::vector<int> outputIndex(input.nb_streams, -1);
  for (int index : chosen) {
    const AVStream* from = input.streams[index];
    AVStream* to = avformat_new_stream(raw, nullptr);
    if (to == nullptr || avcodec_parameters_copy(to->codecpar, from->codecpar) < 0) {
      return cannotWrite + "out of memory";
    }
    to->codecpar->codec_tag = 0;  // the MP4 muxer picks its own
    to->time_base = from->time_base;
    to->duration = from->duration;  // a hint the muxer may use
    to->avg_frame_rate = from->avg_frame_rate;
    to->r_frame_rate = from->r_frame_rate;
    to->sample_aspect_ratio = from->sample_aspect_ratio;
    to->disposition = from->disposition;
    av_dict_copy(&to->metadata, from->metadata, 0);
    copyStreamSideData(*from, *to);
    outputIndex[static_cast<std::size_t>(index)] = to->index;
  }
  // The global tags, less the ones `ffmpeg` drops because they describe the source file.
  av_dict_copy(&raw->metadata, input.metadata, 0);
  for (const char* key : {"creation_time", "company_name", "product_name", "product_version"}) {
    av_dict_set(&raw->metadata, key, nullptr, 0);
  }
  av_dict_set(&raw->metadata, "encoder", LIBAVFORMAT_IDENT, 0);

  code = avio_open(&raw->pb, path.c_str(), AVIO_FLAG_WRITE);
  if (code < 0) return cannotWrite + errorText(code);
  AVDictionary* options = nullptr;
  av_dict_set(&options, "movflags", "+faststart", 0);
  code = avformat_write_header(output.get(), &options);
  av_dict_free(&options);
  if (code < 0) return cannotWrite + errorText(code);

  // Timestamps start where the movie starts, as `ffmpeg` shifts them without -copyts.
  const std::int64_t start = input.start_time == AV_NOPTS_VALUE ? 0 : input.start_time;
  Packet packet(av_packet_alloc());
  if (!packet) return cannotWrite + "out of memory";
  while ((code = av_read_frame(&input, packet.get())) >= 0) {
    int to = packet->stream_index < static_cast<int>(outputIndex.size())
                 ? outputIndex[static_cast<std::size_t>(packet->stream_index)]
                 : -1;
    if (to < 0) {
      av_packet_unref(packet.get());
      continue;
    }
    const AVRational from = input.streams[packet->stream_index]->time_base;
    const std::int64_t offset = av_rescale_q(start, AV_TIME_BASE_Q, from);
    if (packet->pts != AV_NOPTS_VALUE) packet->pts -= offset;
    if (packet->dts != AV_NOPTS_VALUE) packet->dts -= offset;
    av_packet_rescale_ts(packet.get(), from, output->streams[to]->time_base);
    packet->stream_index = to;
    packet->pos = -1;
    code = av_interleaved_write_frame(output.get(), packet.get());  // takes the packet's data
    if (code < 0) return cannotWrite + errorText(code);
  }
  if (code != AVERROR_EOF) return std::string("cannot read ") + input.url + ": " + errorText(code);
  code = av_write_trailer(output.get());
  if (code >= 0) code = avio_closep(&output->pb);  // the last bytes reach the disk here
  if (code < 0) return cannotWrite + errorText(code);
  return std::nullopt;
}

std::optional<std::string> remux(const std::string& moviePath, const std::string& mp4Path) {
  std::error_code failure;
  if (!fs::is_regular_file(moviePath, failure)) return "there is no movie at " + moviePath;
  std::string why;
  InputContext input = openInput(moviePath, &why);
  if (!input) return moviePath + " is not a movie (" + why + ")";
  std::vector<int> chosen = streamsToCopy(*input);
  if (chosen.empty()) return moviePath + " is not a movie (it has no picture or sound)";

  // Written beside the destination and renamed, so mp4Path is either the old file or the whole
  // new one.
  const std::string partial = mp4Path + ".partial";
  std::optional<std::string> error = writeCopy(*input, chosen, partial, mp4Path);
  if (!error) {
    fs::rename(partial, mp4Path, failure);
    if (failure) error = "cannot write " + mp4Path + ": " + failure.message();
  }
  if (error) fs::remove(partial, failure);
  return error;
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
