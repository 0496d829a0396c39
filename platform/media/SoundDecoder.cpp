#include "media/SoundDecoder.h"

#include <algorithm>

#include "media/FfmpegSupport.h"

namespace quorvel {

namespace {

using namespace ffmpeg;

// Every sample of the best sound stream, converted as it is decoded.
std::optional<std::vector<std::int16_t>> decodeAll(AVFormatContext& format, int sampleRate) {
  const int index = av_find_best_stream(&format, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0 || sampleRate <= 0) return std::nullopt;
  CodecContext decoder = openDecoder(format, index);
  if (!decoder) return std::nullopt;
  AVChannelLayout in = {};
  if (av_channel_layout_copy(&in, &decoder->ch_layout) < 0) return std::nullopt;
  // Raw PCM may come without a layout: take the usual one for its channel count.
  if (in.order == AV_CHANNEL_ORDER_UNSPEC) av_channel_layout_default(&in, in.nb_channels);
  AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;  // swr_alloc_set_opts2 wants it mutable in 5.1
  SwrContext* raw = nullptr;
  int code = swr_alloc_set_opts2(&raw, &mono, AV_SAMPLE_FMT_S16, sampleRate, &in,
                                 decoder->sample_fmt, decoder->sample_rate, 0, nullptr);
  av_channel_layout_uninit(&in);
  Resampler resampler(raw);
  if (code < 0 || swr_init(raw) < 0) return std::nullopt;

  std::vector<std::int16_t> samples;
  auto convert = [&](const AVFrame* frame) {
    const int room = swr_get_out_samples(raw, frame ? frame->nb_samples : 0);
    if (room <= 0) return true;
    const std::size_t before = samples.size();
    samples.resize(before + static_cast<std::size_t>(room));
    auto* out = reinterpret_cast<std::uint8_t*>(samples.data() + before);
    const int made = swr_convert(
        raw, &out, room, frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr,
        frame ? frame->nb_samples : 0);
    samples.resize(before + static_cast<std::size_t>(std::max(made, 0)));
    return made >= 0;
  };
  Packet packet(av_packet_alloc());
  Frame frame(av_frame_alloc());
  if (!packet || !frame) return std::nullopt;
  auto drain = [&] {
    while (avcodec_receive_frame(decoder.get(), frame.get()) == 0) {
      if (!convert(frame.get())) return false;
    }
    return true;
  };
  while (av_read_frame(&format, packet.get()) >= 0) {
    const bool ours = packet->stream_index == index;
    code = ours ? avcodec_send_packet(decoder.get(), packet.get()) : 0;
    av_packet_unref(packet.get());
    if (code < 0 && code != AVERROR_INVALIDDATA) return std::nullopt;
    if (ours && !drain()) return std::nullopt;
  }
  avcodec_send_packet(decoder.get(), nullptr);
  if (!drain() || !convert(nullptr)) return std::nullopt;
  return samples;
}

}  // namespace

std::optional<std::vector<std::int16_t>> SoundDecoder::decode(
    const std::vector<std::uint8_t>& bytes, int sampleRate) {
  MemoryInput input(bytes);
  if (input.format() == nullptr) return std::nullopt;
  return decodeAll(*input.format(), sampleRate);
}

std::optional<std::vector<std::int16_t>> SoundDecoder::decodeFile(const std::string& path,
                                                                  int sampleRate) {
  InputContext input = openInput(path);
  if (!input) return std::nullopt;
  return decodeAll(*input, sampleRate);
}

}  // namespace quorvel
