#include "media/MovieWriter.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "media/FfmpegSupport.h"

namespace quorvel {

namespace {

using namespace ffmpeg;

// What the filming thread may hand over before the encoder catches up. Frames beyond it are
// dropped (the movie has a variable frame rate anyway); sound beyond it becomes silence of the
// same length, so that picture and sound stay together.
constexpr std::size_t kQueuedFrames = 4;
constexpr double kQueuedSoundSeconds = 5;
// Picture moments count in 1/90000 s, as MPEG's do: fine enough for any moment given.
constexpr AVRational kVideoTimeBase = {1, 90000};
constexpr std::size_t kSilenceChunk = 4096;

struct VideoFrame {
  std::vector<std::uint8_t> pixels;  // B, G, R, A rows without padding
  int width = 0;
  int height = 0;
  std::int64_t pts = 0;
};

struct Sound {
  std::size_t silenceBefore = 0;  // frames of sound dropped before these
  std::vector<std::int16_t> samples;
};

class FfmpegMovieWriter final : public MovieWriter {
 public:
  explicit FfmpegMovieWriter(const Options& options)
      : options_(options),
        channels_(options.audioChannels),
        inputRate_(options.audioInputRate > 0 ? options.audioInputRate : options.audioSampleRate) {}
  ~FfmpegMovieWriter() override { finish(); }

  std::optional<std::string> open(const std::string& path);

  void addVideoFrame(const std::uint8_t* pixels, int width, int height, int rowStride,
                     double seconds) override;
  void addAudio(const std::int16_t* samples, std::size_t frameCount) override;
  std::optional<std::string> finish() override;

 private:
  std::optional<std::string> openVideo();
  std::optional<std::string> openAudio();
  AVStream* addStream(const AVCodecContext& codec);
  void run();
  void encode(const VideoFrame& frame);
  void encode(const Sound& sound);
  void putSound(const std::int16_t* samples, std::size_t frameCount);
  void convertSound(const std::uint8_t* in, int inCount);
  void sendSound(int frameCount);
  void send(AVCodecContext& codec, AVStream& stream, const AVFrame* frame);
  void close();
  void fail(const char* what, int code);

  const Options options_;
  const int channels_;
  const int inputRate_;
  std::string path_;
  OutputContext output_;
  Packet packet_;
  CodecContext video_;
  AVStream* videoStream_ = nullptr;
  Frame picture_;
  Scaler scaler_;
  int scaledWidth_ = 0;
  int scaledHeight_ = 0;
  CodecContext audio_;
  AVStream* audioStream_ = nullptr;
  Resampler resampler_;
  AudioFifo fifo_;
  std::int64_t soundPts_ = 0;
  std::optional<std::string> error_;  // the writer thread's own until it ends

  std::mutex mutex_;
  std::condition_variable wake_;   // the writer thread: something to do
  std::condition_variable taken_;  // a waiting caller: room in the queue
  std::deque<VideoFrame> frames_;
  std::deque<Sound> sounds_;
  std::size_t queuedSound_ = 0;
  std::size_t droppedSound_ = 0;
  std::int64_t lastPts_ = -1;
  bool finishing_ = false;
  std::thread thread_;

  std::mutex finishMutex_;
  bool finished_ = false;
};

std::optional<std::string> FfmpegMovieWriter::open(const std::string& path) {
  path_ = path;
  const bool recording = path.size() > 4 && path.compare(path.size() - 4, 4, ".m4a") == 0;
  const bool picture = options_.width != 0 || options_.height != 0;
  if (recording ? picture || options_.audioSampleRate <= 0
                : options_.width < 2 || options_.height < 2 || !(options_.framesPerSecond > 0)) {
    return std::string(recording ? "a sound recording has a sound format and no picture"
                                 : "a movie needs a picture size and a frame rate");
  }
  if (options_.audioSampleRate < 0 || (options_.audioSampleRate > 0 && channels_ < 1) ||
      inputRate_ < 0) {
    return std::string("the sound format is not one");
  }
  const std::string cannotWrite = "cannot write " + path + ": ";
  AVFormatContext* raw = nullptr;
  // "ipod" is the muxer FFmpeg itself picks for .m4a.
  int code =
      avformat_alloc_output_context2(&raw, nullptr, recording ? "ipod" : "mov", path.c_str());
  if (code < 0) return cannotWrite + errorText(code);
  output_.reset(raw);
  packet_.reset(av_packet_alloc());
  if (!packet_) return std::string("out of memory");
  if (picture) {
    if (auto error = openVideo()) return error;
    videoStream_ = addStream(*video_);
    if (videoStream_ == nullptr) return std::string("out of memory");
  }
  if (options_.audioSampleRate > 0) {
    if (auto error = openAudio()) return error;
    audioStream_ = addStream(*audio_);
    if (audioStream_ == nullptr) return std::string("out of memory");
  }
  code = avio_open(&raw->pb, path.c_str(), AVIO_FLAG_WRITE);
  if (code < 0) return cannotWrite + errorText(code);
  AVDictionary* settings = nullptr;
  if (recording) av_dict_set(&settings, "movflags", "+faststart", 0);
  code = avformat_write_header(raw, &settings);
  av_dict_free(&settings);
  if (code < 0) return cannotWrite + errorText(code);
  thread_ = std::thread([this] { run(); });
  return std::nullopt;
}

std::optional<std::string> FfmpegMovieWriter::openVideo() {
  const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
  if (codec == nullptr) return std::string("this FFmpeg has no H.264 encoder (libx264)");
  video_.reset(avcodec_alloc_context3(codec));
  picture_.reset(av_frame_alloc());
  if (!video_ || !picture_) return std::string("out of memory");
  // 4:2:0 needs even sides.
  video_->width = options_.width & ~1;
  video_->height = options_.height & ~1;
  video_->pix_fmt = AV_PIX_FMT_YUV420P;
  video_->time_base = kVideoTimeBase;
  video_->framerate = av_d2q(options_.framesPerSecond, 1000);
  video_->gop_size = std::max(1, static_cast<int>(std::lround(options_.framesPerSecond * 2)));
  video_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;  // QuickTime keeps the parameter sets apart
  // Real time on two cores beside the filming: x264's quick preset, and no look-ahead, so that
  // each frame leaves the encoder at once instead of piling up for the end.
  av_opt_set(video_->priv_data, "preset", "veryfast", 0);
  av_opt_set(video_->priv_data, "tune", "zerolatency", 0);
  // x264's statistics would land on the host's standard error.
  av_opt_set(video_->priv_data, "x264-params", "log=-1", 0);
  int code = avcodec_open2(video_.get(), codec, nullptr);
  if (code < 0) return "cannot open the H.264 encoder: " + errorText(code);
  picture_->format = video_->pix_fmt;
  picture_->width = video_->width;
  picture_->height = video_->height;
  if (av_frame_get_buffer(picture_.get(), 0) < 0) return std::string("out of memory");
  return std::nullopt;
}

std::optional<std::string> FfmpegMovieWriter::openAudio() {
  const AVCodec* codec = avcodec_find_encoder_by_name("aac");
  if (codec == nullptr) return std::string("this FFmpeg has no AAC encoder");
  audio_.reset(avcodec_alloc_context3(codec));
  if (!audio_) return std::string("out of memory");
  audio_->sample_fmt = AV_SAMPLE_FMT_FLTP;
  audio_->sample_rate = options_.audioSampleRate;
  av_channel_layout_default(&audio_->ch_layout, channels_);
  audio_->bit_rate = 64000L * channels_;
  audio_->time_base = AVRational{1, options_.audioSampleRate};
  audio_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  int code = avcodec_open2(audio_.get(), codec, nullptr);
  if (code < 0) return "cannot open the AAC encoder: " + errorText(code);

  SwrContext* raw = nullptr;
  code = swr_alloc_set_opts2(&raw, &audio_->ch_layout, AV_SAMPLE_FMT_FLTP, audio_->sample_rate,
                             &audio_->ch_layout, AV_SAMPLE_FMT_S16, inputRate_, 0, nullptr);
  resampler_.reset(raw);
  if (code < 0 || swr_init(raw) < 0) return std::string("cannot convert the sound for AAC");
  // The encoder takes whole frames of frame_size samples; the FIFO gathers them.
  fifo_.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, channels_, audio_->frame_size));
  if (!fifo_) return std::string("out of memory");
  return std::nullopt;
}

AVStream* FfmpegMovieWriter::addStream(const AVCodecContext& codec) {
  AVStream* stream = avformat_new_stream(output_.get(), nullptr);
  if (stream == nullptr || avcodec_parameters_from_context(stream->codecpar, &codec) < 0) {
    return nullptr;
  }
  stream->time_base = codec.time_base;
  return stream;
}

void FfmpegMovieWriter::addVideoFrame(const std::uint8_t* pixels, int width, int height,
                                      int rowStride, double seconds) {
  if (!video_ || pixels == nullptr || width <= 0 || height <= 0 || rowStride < width * 4) return;
  if (!(seconds >= 0) || !thread_.joinable()) return;
  const std::int64_t pts = std::llround(seconds * kVideoTimeBase.den);
  {
    std::unique_lock lock(mutex_);
    if (!options_.realTime) {
      taken_.wait(lock, [this] { return finishing_ || frames_.size() < kQueuedFrames; });
    }
    if (finishing_ || pts <= lastPts_ || frames_.size() >= kQueuedFrames) return;
    lastPts_ = pts;
  }
  // Copied outside the lock: the writer thread keeps encoding meanwhile.
  const auto rowBytes = static_cast<std::size_t>(width) * 4;
  VideoFrame frame{std::vector<std::uint8_t>(rowBytes * static_cast<std::size_t>(height)), width,
                   height, pts};
  for (int y = 0; y < height; ++y) {
    std::memcpy(&frame.pixels[static_cast<std::size_t>(y) * rowBytes],
                pixels + static_cast<std::ptrdiff_t>(y) * rowStride, rowBytes);
  }
  std::lock_guard lock(mutex_);
  if (finishing_) return;
  frames_.push_back(std::move(frame));
  wake_.notify_one();
}

void FfmpegMovieWriter::addAudio(const std::int16_t* samples, std::size_t frameCount) {
  if (!audio_ || samples == nullptr || frameCount == 0 || !thread_.joinable()) return;
  const double budget = kQueuedSoundSeconds * inputRate_;
  std::unique_lock lock(mutex_);
  if (!options_.realTime) {
    taken_.wait(lock, [&] {
      return finishing_ || queuedSound_ == 0 ||
             static_cast<double>(queuedSound_ + frameCount) <= budget;
    });
  }
  if (finishing_) return;
  if (static_cast<double>(queuedSound_ + frameCount) > budget) {
    droppedSound_ += frameCount;
    return;
  }
  const std::size_t count = frameCount * static_cast<std::size_t>(channels_);
  sounds_.push_back(
      Sound{std::exchange(droppedSound_, 0), std::vector<std::int16_t>(samples, samples + count)});
  queuedSound_ += frameCount;
  wake_.notify_one();
}

std::optional<std::string> FfmpegMovieWriter::finish() {
  std::lock_guard once(finishMutex_);
  if (!finished_) {
    {
      std::lock_guard lock(mutex_);
      finishing_ = true;
      wake_.notify_one();
      taken_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
    output_.reset();
    finished_ = true;
  }
  return error_;
}

void FfmpegMovieWriter::run() {
  for (;;) {
    std::optional<VideoFrame> frame;
    std::optional<Sound> sound;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return finishing_ || !frames_.empty() || !sounds_.empty(); });
      if (!frames_.empty()) {
        frame = std::move(frames_.front());
        frames_.pop_front();
      } else if (!sounds_.empty()) {
        sound = std::move(sounds_.front());
        sounds_.pop_front();
        queuedSound_ -= sound->samples.size() / static_cast<std::size_t>(channels_);
      } else if (droppedSound_ > 0) {
        sound = Sound{std::exchange(droppedSound_, 0), {}};
      } else {
        break;  // finishing, and everything handed over is taken
      }
    }
    taken_.notify_all();
    if (error_) continue;  // spoiled: take what is handed over, write nothing more
    if (frame) encode(*frame);
    if (sound) encode(*sound);
  }
  if (!error_) close();
}

void FfmpegMovieWriter::encode(const VideoFrame& frame) {
  if (!scaler_ || frame.width != scaledWidth_ || frame.height != scaledHeight_) {
    scaler_.reset(sws_getContext(frame.width, frame.height, AV_PIX_FMT_BGRA, video_->width,
                                 video_->height, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr,
                                 nullptr));
    scaledWidth_ = frame.width;
    scaledHeight_ = frame.height;
    if (!scaler_) return fail("cannot convert the picture", AVERROR(ENOMEM));
  }
  // The encoder may still hold the last picture; then this one gets a buffer of its own.
  int code = av_frame_make_writable(picture_.get());
  if (code < 0) return fail("cannot convert the picture", code);
  const std::uint8_t* source[4] = {frame.pixels.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {frame.width * 4, 0, 0, 0};
  sws_scale(scaler_.get(), source, strides, 0, frame.height, picture_->data, picture_->linesize);
  picture_->pts = frame.pts;
  send(*video_, *videoStream_, picture_.get());
}

void FfmpegMovieWriter::encode(const Sound& sound) {
  // Sound dropped before this comes back as silence, so what follows keeps its moment.
  const std::vector<std::int16_t> silence(kSilenceChunk * static_cast<std::size_t>(channels_));
  for (std::size_t quiet = sound.silenceBefore; quiet > 0 && !error_;) {
    const std::size_t n = std::min(quiet, kSilenceChunk);
    putSound(silence.data(), n);
    quiet -= n;
  }
  if (!error_ && !sound.samples.empty()) {
    putSound(sound.samples.data(), sound.samples.size() / static_cast<std::size_t>(channels_));
  }
}

void FfmpegMovieWriter::putSound(const std::int16_t* samples, std::size_t frameCount) {
  convertSound(reinterpret_cast<const std::uint8_t*>(samples), static_cast<int>(frameCount));
}

// Converts (and resamples) input frames into the FIFO; null input drains the resampler.
void FfmpegMovieWriter::convertSound(const std::uint8_t* in, int inCount) {
  Frame planar(av_frame_alloc());
  if (!planar) return fail("cannot convert the sound", AVERROR(ENOMEM));
  planar->format = AV_SAMPLE_FMT_FLTP;
  planar->nb_samples = std::max(1, swr_get_out_samples(resampler_.get(), inCount));
  int code = av_channel_layout_copy(&planar->ch_layout, &audio_->ch_layout);
  if (code >= 0) code = av_frame_get_buffer(planar.get(), 0);
  if (code >= 0) {
    code = swr_convert(resampler_.get(), planar->extended_data, planar->nb_samples,
                       in ? &in : nullptr, inCount);
  }
  if (code >= 0) {
    code = av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(planar->extended_data), code);
  }
  if (code < 0) return fail("cannot convert the sound", code);
  while (!error_ && av_audio_fifo_size(fifo_.get()) >= audio_->frame_size) {
    sendSound(audio_->frame_size);
  }
}

void FfmpegMovieWriter::sendSound(int frameCount) {
  Frame frame(av_frame_alloc());
  if (!frame) return fail("cannot encode the sound", AVERROR(ENOMEM));
  frame->format = AV_SAMPLE_FMT_FLTP;
  frame->nb_samples = frameCount;
  frame->sample_rate = audio_->sample_rate;
  int code = av_channel_layout_copy(&frame->ch_layout, &audio_->ch_layout);
  if (code >= 0) code = av_frame_get_buffer(frame.get(), 0);
  if (code >= 0) {
    code =
        av_audio_fifo_read(fifo_.get(), reinterpret_cast<void**>(frame->extended_data), frameCount);
  }
  if (code < 0) return fail("cannot encode the sound", code);
  // The sound starts with the movie: its moments are its sample count.
  frame->pts = soundPts_;
  soundPts_ += frameCount;
  send(*audio_, *audioStream_, frame.get());
}

void FfmpegMovieWriter::send(AVCodecContext& codec, AVStream& stream, const AVFrame* frame) {
  int code = avcodec_send_frame(&codec, frame);
  if (code < 0) return fail("cannot encode the movie", code);
  // The last picture lasts one nominal frame; the others last until the next one.
  const std::int64_t frameDuration =
      codec.codec_type == AVMEDIA_TYPE_VIDEO
          ? av_rescale_q(1, av_inv_q(codec.framerate), codec.time_base)
          : 0;
  while ((code = avcodec_receive_packet(&codec, packet_.get())) == 0) {
    if (frameDuration > 0) packet_->duration = frameDuration;
    av_packet_rescale_ts(packet_.get(), codec.time_base, stream.time_base);
    packet_->stream_index = stream.index;
    code = av_interleaved_write_frame(output_.get(), packet_.get());
    if (code < 0) return fail("cannot write the movie", code);
  }
  if (code != AVERROR(EAGAIN) && code != AVERROR_EOF) fail("cannot encode the movie", code);
}

void FfmpegMovieWriter::close() {
  // The resampler's own delay and a last, shorter frame: no tail of the sound is lost.
  if (audio_ && inputRate_ != audio_->sample_rate) convertSound(nullptr, 0);
  if (!error_ && audio_ && av_audio_fifo_size(fifo_.get()) > 0) {
    sendSound(av_audio_fifo_size(fifo_.get()));
  }
  if (!error_ && video_) send(*video_, *videoStream_, nullptr);
  if (!error_ && audio_) send(*audio_, *audioStream_, nullptr);
  if (error_) return;
  int code = av_write_trailer(output_.get());
  if (code < 0) return fail("cannot write the movie", code);
  code = avio_closep(&output_->pb);
  if (code < 0) fail("cannot write the movie", code);
}

void FfmpegMovieWriter::fail(const char* what, int code) {
  if (!error_) error_ = std::string(what) + " " + path_ + ": " + errorText(code);
}

}  // namespace

std::unique_ptr<MovieWriter> MovieWriter::open(const std::string& path, const Options& options,
                                               std::string& error) {
  auto writer = std::make_unique<FfmpegMovieWriter>(options);
  if (auto failure = writer->open(path)) {
    error = *failure;
    return nullptr;
  }
  return writer;
}

}  // namespace quorvel
