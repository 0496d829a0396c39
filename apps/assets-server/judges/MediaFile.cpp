#include "MediaFile.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <mutex>

#include "FfmpegHandles.h"

namespace quorvel {

namespace {

// Damaged uploads make FFmpeg's decoders talk on stderr for every packet; the judge says what
// went wrong itself.
void quietFfmpeg() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_FATAL); });
}

bool sizeAllowed(int width, int height) {
  return width > 0 && height > 0 &&
         static_cast<std::int64_t>(width) * height <= MediaFile::kMaxPixels;
}

// A decoder for stream index of input on one thread, or nothing.
ffmpeg::CodecContext openDecoder(AVFormatContext* input, int index) {
  if (index < 0) return nullptr;
  const AVCodecParameters* parameters = input->streams[index]->codecpar;
  const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
  if (codec == nullptr) return nullptr;
  ffmpeg::CodecContext context(avcodec_alloc_context3(codec));
  if (!context || avcodec_parameters_to_context(context.get(), parameters) < 0) return nullptr;
  // The judging pool runs one film per thread.
  context->thread_count = 1;
  context->max_pixels = MediaFile::kMaxPixels;
  // Pictures nothing is predicted from (a phone's B-frames) need no deblocking to be judged, and
  // skipping it there costs no later picture anything.
  context->skip_loop_filter = AVDISCARD_NONREF;
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
  return context;
}

}  // namespace

struct MediaFile::State {
  ffmpeg::InputContext input;
  int videoIndex = -1;
  int audioIndex = -1;
  ffmpeg::CodecContext video;
  ffmpeg::CodecContext audio;

  bool rewind() {
    if (avformat_seek_file(input.get(), -1, INT64_MIN, 0, 0, AVSEEK_FLAG_BACKWARD) < 0 &&
        av_seek_frame(input.get(), -1, 0, AVSEEK_FLAG_BACKWARD) < 0) {
      return false;
    }
    if (video) avcodec_flush_buffers(video.get());
    if (audio) avcodec_flush_buffers(audio.get());
    return true;
  }

  // Reads the packets of stream `index` from the start into decoder, handing each decoded frame to
  // onFrame until it answers false. Damaged packets are skipped; reading stops at the end or at
  // the first read error (a truncated file).
  template <class OnFrame>
  void decode(int index, AVCodecContext* decoder, OnFrame&& onFrame) {
    ffmpeg::Packet packet(av_packet_alloc());
    ffmpeg::Frame frame(av_frame_alloc());
    if (!packet || !frame) return;
    auto drain = [&]() {
      while (avcodec_receive_frame(decoder, frame.get()) >= 0) {
        const bool more = onFrame(frame.get());
        av_frame_unref(frame.get());
        if (!more) return false;
      }
      return true;
    };
    bool more = true;
    while (more && av_read_frame(input.get(), packet.get()) >= 0) {
      if (packet->stream_index == index) {
        // A packet the decoder refuses is damaged: the next key frame brings the picture back.
        avcodec_send_packet(decoder, packet.get());
        more = drain();
      }
      av_packet_unref(packet.get());
    }
    if (more && avcodec_send_packet(decoder, nullptr) >= 0) drain();
  }
};

namespace {

class DecodedFrame final : public MediaFile::Frame {
 public:
  DecodedFrame(const AVFrame* frame, double seconds, ffmpeg::Scaler* greyScaler,
               ffmpeg::Scaler* rgbScaler)
      : frame_(frame), seconds_(seconds), greyScaler_(greyScaler), rgbScaler_(rgbScaler) {}

  double seconds() const override { return seconds_; }
  int width() const override { return frame_->width; }
  int height() const override { return frame_->height; }

  const MediaFile::Picture& grey(int maxSide) override {
    const int longer = std::max(frame_->width, frame_->height);
    const double scale = longer > maxSide ? static_cast<double>(maxSide) / longer : 1.0;
    const int width = std::max(1, static_cast<int>(std::lround(frame_->width * scale)));
    const int height = std::max(1, static_cast<int>(std::lround(frame_->height * scale)));
    if (grey_.width != width || grey_.height != height || grey_.bytes.empty()) {
      scale_(*greyScaler_, AV_PIX_FMT_GRAY8, width, height, 1, grey_);
    }
    return grey_;
  }

  const MediaFile::Picture& rgb(int width, int height) override {
    if (rgb_.width != width || rgb_.height != height || rgb_.bytes.empty()) {
      scale_(*rgbScaler_, AV_PIX_FMT_RGB24, width, height, 3, rgb_);
    }
    return rgb_;
  }

  std::unique_ptr<MediaFile::Frame> keep() const override {
    ffmpeg::Frame copy(av_frame_clone(frame_));
    if (!copy) return nullptr;
    auto kept = std::make_unique<DecodedFrame>(copy.get(), seconds_, nullptr, nullptr);
    kept->owned_ = std::move(copy);
    kept->greyScaler_ = &kept->ownGreyScaler_;
    kept->rgbScaler_ = &kept->ownRgbScaler_;
    return kept;
  }

 private:
  void scale_(ffmpeg::Scaler& scaler, AVPixelFormat format, int width, int height,
              int bytesPerPixel, MediaFile::Picture& into) {
    into.width = width;
    into.height = height;
    into.bytes.assign(static_cast<std::size_t>(width) * height * bytesPerPixel, 0);
    // Area averaging: a tiny colour picture tells a frame's colours, not its noise.
    SwsContext* context = sws_getCachedContext(scaler.release(), frame_->width, frame_->height,
                                               static_cast<AVPixelFormat>(frame_->format), width,
                                               height, format, SWS_AREA, nullptr, nullptr, nullptr);
    scaler.reset(context);
    if (context == nullptr) return;
    std::uint8_t* planes[4] = {into.bytes.data(), nullptr, nullptr, nullptr};
    int strides[4] = {width * bytesPerPixel, 0, 0, 0};
    sws_scale(context, frame_->data, frame_->linesize, 0, frame_->height, planes, strides);
  }

  const AVFrame* frame_;
  double seconds_;
  ffmpeg::Scaler* greyScaler_;
  ffmpeg::Scaler* rgbScaler_;
  // A kept frame's own reference and scalers.
  ffmpeg::Frame owned_;
  ffmpeg::Scaler ownGreyScaler_;
  ffmpeg::Scaler ownRgbScaler_;
  MediaFile::Picture grey_;
  MediaFile::Picture rgb_;
};

}  // namespace

MediaFile::MediaFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
MediaFile::~MediaFile() = default;

std::unique_ptr<MediaFile> MediaFile::open(const std::filesystem::path& path, std::string& error) {
  quietFfmpeg();
  auto state = std::make_unique<State>();
  // Only films and recordings as phones write them, and only the file itself: a stored upload
  // that claims to be a playlist must not make the server read other files or the network.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "format_whitelist", "mov,mp4,m4a,3gp,3g2,mj2", 0);
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  AVFormatContext* raw = nullptr;
  const int opened = avformat_open_input(&raw, path.c_str(), nullptr, &options);
  av_dict_free(&options);
  if (opened < 0) {
    error = "not a film or recording that can be played";
    return nullptr;
  }
  state->input.reset(raw);
  if (avformat_find_stream_info(raw, nullptr) < 0) {
    error = "its tracks cannot be read";
    return nullptr;
  }
  state->videoIndex = av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  state->audioIndex = av_find_best_stream(raw, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (state->videoIndex >= 0) {
    const AVCodecParameters* parameters = raw->streams[state->videoIndex]->codecpar;
    if (!sizeAllowed(parameters->width, parameters->height)) {
      error = "its picture size is not one a camera films";
      return nullptr;
    }
    state->video = openDecoder(raw, state->videoIndex);
    if (!state->video) state->videoIndex = -1;
  }
  if (state->audioIndex >= 0) {
    state->audio = openDecoder(raw, state->audioIndex);
    if (!state->audio) state->audioIndex = -1;
  }
  if (state->videoIndex < 0 && state->audioIndex < 0) {
    error = "it holds no picture or sound that can be decoded";
    return nullptr;
  }
  // Only the tracks that are decoded are read from the file.
  for (unsigned i = 0; i < raw->nb_streams; ++i) {
    const int index = static_cast<int>(i);
    if (index != state->videoIndex && index != state->audioIndex) {
      raw->streams[i]->discard = AVDISCARD_ALL;
    }
  }
  return std::unique_ptr<MediaFile>(new MediaFile(std::move(state)));
}

bool MediaFile::hasPicture() const { return state_->videoIndex >= 0; }
int MediaFile::longerSide() const {
  if (!hasPicture()) return 0;
  const AVCodecParameters* parameters = state_->input->streams[state_->videoIndex]->codecpar;
  return std::max(parameters->width, parameters->height);
}

bool MediaFile::hasSound() const { return state_->audioIndex >= 0; }

double MediaFile::duration() const {
  const AVFormatContext* input = state_->input.get();
  if (input->duration > 0) return static_cast<double>(input->duration) / AV_TIME_BASE;
  return 0;
}

double MediaFile::pictureSeconds() const {
  if (hasPicture()) {
    const AVStream* stream = state_->input->streams[state_->videoIndex];
    if (stream->duration > 0)
      return static_cast<double>(stream->duration) * av_q2d(stream->time_base);
  }
  return duration();
}

int MediaFile::forEachPicture(const std::function<bool(Frame&)>& onFrame) {
  if (!hasPicture() || !state_->rewind()) return 0;
  AVStream* stream = state_->input->streams[state_->videoIndex];
  const double timeBase = av_q2d(stream->time_base);
  const std::int64_t start = stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
  // While reading pictures, the sound's packets are skipped.
  const AVDiscard soundDiscard =
      hasSound() ? state_->input->streams[state_->audioIndex]->discard : AVDISCARD_ALL;
  if (hasSound()) state_->input->streams[state_->audioIndex]->discard = AVDISCARD_ALL;
  ffmpeg::Scaler greyScaler;
  ffmpeg::Scaler rgbScaler;
  int count = 0;
  double lastSeconds = 0;
  state_->decode(state_->videoIndex, state_->video.get(), [&](AVFrame* frame) {
    // A stream may change its size midway: the limit holds for every picture.
    if (!sizeAllowed(frame->width, frame->height)) return true;
    const std::int64_t pts = frame->best_effort_timestamp;
    double seconds = pts == AV_NOPTS_VALUE ? lastSeconds : (pts - start) * timeBase;
    if (!std::isfinite(seconds)) seconds = lastSeconds;
    lastSeconds = seconds;
    DecodedFrame decoded(frame, seconds, &greyScaler, &rgbScaler);
    ++count;
    return onFrame(decoded);
  });
  if (hasSound()) state_->input->streams[state_->audioIndex]->discard = soundDiscard;
  return count;
}

std::optional<std::vector<float>> MediaFile::sound(int rate, double maxSeconds) {
  if (!hasSound() || rate <= 0 || !state_->rewind()) return std::nullopt;
  AVCodecContext* decoder = state_->audio.get();
  AVChannelLayout mono;
  av_channel_layout_default(&mono, 1);
  SwrContext* raw = nullptr;
  if (swr_alloc_set_opts2(&raw, &mono, AV_SAMPLE_FMT_FLT, rate, &decoder->ch_layout,
                          decoder->sample_fmt, decoder->sample_rate, 0, nullptr) < 0) {
    return std::nullopt;
  }
  ffmpeg::Resampler resampler(raw);
  if (swr_init(raw) < 0) return std::nullopt;
  if (hasPicture()) state_->input->streams[state_->videoIndex]->discard = AVDISCARD_ALL;
  const auto limit = static_cast<std::size_t>(std::max(0.0, maxSeconds) * rate);
  std::vector<float> samples;
  bool decodedAny = false;
  auto append = [&](const std::uint8_t** data, int count) {
    const int room = swr_get_out_samples(raw, count);
    if (room <= 0) return;
    const std::size_t at = samples.size();
    samples.resize(at + static_cast<std::size_t>(room));
    std::uint8_t* out[1] = {reinterpret_cast<std::uint8_t*>(samples.data() + at)};
    const int made = swr_convert(raw, out, room, data, count);
    samples.resize(at + static_cast<std::size_t>(std::max(made, 0)));
  };
  state_->decode(state_->audioIndex, decoder, [&](AVFrame* frame) {
    // A frame whose layout differs from the stream's cannot go through this resampler.
    if (frame->ch_layout.nb_channels != decoder->ch_layout.nb_channels ||
        frame->sample_rate != decoder->sample_rate || frame->format != decoder->sample_fmt) {
      return true;
    }
    decodedAny = true;
    append(const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
    return samples.size() < limit;
  });
  append(nullptr, 0);
  if (hasPicture()) state_->input->streams[state_->videoIndex]->discard = AVDISCARD_DEFAULT;
  if (!decodedAny) return std::nullopt;
  if (samples.size() > limit) samples.resize(limit);
  return samples;
}

}  // namespace quorvel
