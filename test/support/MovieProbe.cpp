#include "support/MovieProbe.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/FfmpegSupport.h"

namespace quorvel::testing {

using namespace ffmpeg;

const ProbedStream* ProbedMovie::first(const std::string& codec) const {
  for (const auto& stream : streams) {
    if (stream.codec == codec) return &stream;
  }
  return nullptr;
}

std::optional<ProbedMovie> probeMovie(const std::string& path) {
  InputContext input = openInput(path);
  if (!input) return std::nullopt;
  ProbedMovie movie;
  if (const AVDictionaryEntry* brand = av_dict_get(input->metadata, "major_brand", nullptr, 0)) {
    movie.brand = brand->value;
  }
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    const AVStream* stream = input->streams[i];
    ProbedStream probed;
    probed.codec = avcodec_get_name(stream->codecpar->codec_id);
    probed.seconds = stream->duration == AV_NOPTS_VALUE
                         ? 0
                         : static_cast<double>(stream->duration) * av_q2d(stream->time_base);
    probed.width = stream->codecpar->width;
    probed.height = stream->codecpar->height;
    probed.sampleRate = stream->codecpar->sample_rate;
    movie.streams.push_back(probed);
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

namespace {

std::optional<RgbPicture> toRgb(const AVFrame& frame) {
  RgbPicture picture{frame.width, frame.height,
                     std::vector<std::uint8_t>(static_cast<std::size_t>(frame.width) *
                                               static_cast<std::size_t>(frame.height) * 3)};
  Scaler scaler(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                               frame.width, frame.height, AV_PIX_FMT_RGB24, SWS_POINT, nullptr,
                               nullptr, nullptr));
  if (!scaler) return std::nullopt;
  std::uint8_t* planes[4] = {picture.rgb.data(), nullptr, nullptr, nullptr};
  int strides[4] = {frame.width * 3, 0, 0, 0};
  sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
  return picture;
}

}  // namespace

std::uint32_t RgbPicture::at(int x, int y) const {
  const std::uint8_t* p = &rgb[static_cast<std::size_t>((y * width + x) * 3)];
  return (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
}

std::optional<RgbPicture> firstPicture(const std::string& path) {
  InputContext input = openInput(path);
  Frame frame = input ? firstVideoFrame(*input) : nullptr;
  return frame ? toRgb(*frame) : std::nullopt;
}

std::optional<RgbPicture> decodeStill(const std::vector<std::uint8_t>& bytes) {
  MemoryInput input(bytes);
  Frame frame = input.format() ? firstVideoFrame(*input.format()) : nullptr;
  return frame ? toRgb(*frame) : std::nullopt;
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
  double sum = 0;
  for (std::size_t i = begin; i < end; ++i) {
    const double value = samples[i] / 32768.0;
    sum += value * value;
  }
  return std::sqrt(sum / static_cast<double>(end - begin));
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
