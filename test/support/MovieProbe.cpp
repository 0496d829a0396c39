#include "support/MovieProbe.h"

extern "C" {
#include <libavutil/base64.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <span>

#include "FfmpegHandles.h"

namespace quorvel::testing {

using namespace ffmpeg;

namespace {

// Opens url (a path, or a data: URL) with its stream information; null when it is not a readable
// container.
InputContext openInput(const std::string& url) {
  AVFormatContext* raw = nullptr;
  if (avformat_open_input(&raw, url.c_str(), nullptr, nullptr) < 0) return nullptr;  // freed raw
  InputContext input(raw);
  if (avformat_find_stream_info(raw, nullptr) < 0) return nullptr;
  return input;
}

// The first frame decoded from the best video stream of url that FFmpeg has a decoder for.
Frame firstVideoFrame(const std::string& url) {
  InputContext input = openInput(url);
  const AVCodec* decoder = nullptr;
  const int index =
      input ? av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0) : -1;
  if (index < 0) return nullptr;
  CodecContext context(avcodec_alloc_context3(decoder));
  Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  if (!context || !packet || !frame ||
      avcodec_parameters_to_context(context.get(), input->streams[index]->codecpar) < 0 ||
      avcodec_open2(context.get(), decoder, nullptr) < 0) {
    return nullptr;
  }
  while (av_read_frame(input.get(), packet.get()) >= 0) {
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

}  // namespace

const ProbedStream* ProbedMovie::first(const std::string& codec) const {
  auto found = std::ranges::find(streams, codec, &ProbedStream::codec);
  return found == streams.end() ? nullptr : &*found;
}

std::optional<ProbedMovie> probeMovie(const std::string& path) {
  InputContext input = openInput(path);
  if (!input) return std::nullopt;
  ProbedMovie movie;
  if (const AVDictionaryEntry* brand = av_dict_get(input->metadata, "major_brand", nullptr, 0)) {
    movie.brand = brand->value;
  }
  for (const AVStream* stream : std::span(input->streams, input->nb_streams)) {
    const std::int64_t duration = stream->duration == AV_NOPTS_VALUE ? 0 : stream->duration;
    movie.streams.push_back({.codec = avcodec_get_name(stream->codecpar->codec_id),
                             .seconds = static_cast<double>(duration) * av_q2d(stream->time_base),
                             .width = stream->codecpar->width,
                             .height = stream->codecpar->height,
                             .sampleRate = stream->codecpar->sample_rate,
                             .packetTimes = {}});
  }
  Packet packet(av_packet_alloc());
  while (av_read_frame(input.get(), packet.get()) >= 0) {
    const AVStream* stream = input->streams[packet->stream_index];
    if (packet->pts != AV_NOPTS_VALUE) {
      movie.streams[static_cast<std::size_t>(packet->stream_index)].packetTimes.push_back(
          static_cast<double>(packet->pts) * av_q2d(stream->time_base));
    }
    av_packet_unref(packet.get());
  }
  return movie;
}

std::uint32_t RgbPicture::at(int x, int y) const {
  const std::uint8_t* p = &rgb[static_cast<std::size_t>((y * width + x) * 3)];
  return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
}

std::optional<RgbPicture> firstPicture(const std::string& path) {
  const Frame frame = firstVideoFrame(path);
  if (!frame) return std::nullopt;
  RgbPicture picture{frame->width, frame->height,
                     std::vector<std::uint8_t>(static_cast<std::size_t>(frame->width) *
                                               static_cast<std::size_t>(frame->height) * 3)};
  const ffmpeg::Scaler scaler(sws_getContext(
      frame->width, frame->height, static_cast<AVPixelFormat>(frame->format), frame->width,
      frame->height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr, nullptr, nullptr));
  if (!scaler) return std::nullopt;
  std::uint8_t* planes[4] = {picture.rgb.data(), nullptr, nullptr, nullptr};
  int strides[4] = {frame->width * 3, 0, 0, 0};
  sws_scale(scaler.get(), frame->data, frame->linesize, 0, frame->height, planes, strides);
  return picture;
}

std::optional<RgbPicture> decodeStill(const std::vector<std::uint8_t>& bytes) {
  // FFmpeg reads the bytes themselves from a data: URL.
  std::string base64(AV_BASE64_SIZE(bytes.size()), '\0');
  av_base64_encode(base64.data(), static_cast<int>(base64.size()), bytes.data(),
                   static_cast<int>(bytes.size()));
  return firstPicture("data:application/octet-stream;base64," + std::string(base64.c_str()));
}

bool similarColour(std::uint32_t a, std::uint32_t b, int tolerance) {
  for (int shift : {16, 8, 0}) {
    const int difference =
        static_cast<int>((a >> shift) & 0xFF) - static_cast<int>((b >> shift) & 0xFF);
    if (std::abs(difference) > tolerance) return false;
  }
  return true;
}

double loudness(const std::vector<std::int16_t>& samples, int rate, double from, double to) {
  const auto begin = static_cast<std::size_t>(std::max(0.0, from * rate));
  const auto end = std::min(samples.size(), static_cast<std::size_t>(std::max(0.0, to * rate)));
  if (end <= begin) return 0;
  const std::int16_t* data = samples.data();
  const double sum = std::inner_product(data + begin, data + end, data + begin, 0.0);
  return std::sqrt(sum / static_cast<double>(end - begin)) / 32768.0;
}

bool shell(const std::string& command) { return std::system(command.c_str()) == 0; }

bool makeMovie(const std::string& path, double seconds, bool withSound,
               const std::string& arguments) {
  const std::string length = std::to_string(seconds);
  std::string command = "ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=15 ";
  if (withSound) command += "-f lavfi -i sine=frequency=440:sample_rate=48000 -c:a aac ";
  command += "-t " + length + " -c:v libx264 -preset ultrafast -pix_fmt yuv420p " + arguments +
             " -y '" + path + "'";
  return shell(command);
}

}  // namespace quorvel::testing
