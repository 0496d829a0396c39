#include "media/MovieWriter.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>
#include <utility>

#include "media/AacEncoder.h"
#include "media/H264Encoder.h"
#include "media/IsoIndexFirst.h"
#include "media/IsoMovieFile.h"
#include "media/SoundResampler.h"
#include "media/Yuv420Picture.h"

namespace quorvel {

namespace {

// What the filming thread may hand over before the encoder catches up. Frames beyond it are
// dropped (the movie has a variable frame rate anyway); sound beyond it becomes silence of the
// same length, so that picture and sound stay together.
constexpr std::size_t kQueuedFrames = 2;
constexpr double kQueuedSoundSeconds = 5;
// Picture moments count in 1/90000 s, as MPEG's do: fine enough for any moment given.
constexpr std::uint32_t kVideoTimescale = 90000;
constexpr std::size_t kSilenceChunk = 4096;

struct VideoFrame {
  std::vector<std::uint8_t> pixels;  // B, G, R, A rows without padding
  int width = 0;
  int height = 0;
  std::int64_t time = 0;
};

struct Sound {
  std::size_t silenceBefore = 0;  // frames of sound dropped before these
  std::vector<std::int16_t> samples;
};

class IsoMovieWriter final : public MovieWriter {
 public:
  explicit IsoMovieWriter(const Options& options)
      : options_(options),
        channels_(options.audioChannels),
        inputRate_(options.audioInputRate > 0 ? options.audioInputRate : options.audioSampleRate) {}
  ~IsoMovieWriter() override { finish(); }

  std::optional<std::string> open(const std::string& path);

  void addVideoFrame(const std::uint8_t* pixels, int width, int height, int rowStride,
                     double seconds) override;
  void addAudio(const std::int16_t* samples, std::size_t frameCount) override;
  std::optional<std::string> finish() override;

 private:
  void run();
  void encode(const VideoFrame& frame);
  void encode(const Sound& sound);
  void putSound(const std::int16_t* samples, std::size_t frameCount);
  void encodeWholeFrames();
  void close();
  void fail(const std::string& what);

  const Options options_;
  const int channels_;
  const int inputRate_;
  std::string path_;
  // A sound recording is written aside, then copied with its index first.
  std::string unindexedPath_;
  std::unique_ptr<IsoMovieFile> file_;
  std::unique_ptr<H264Encoder> video_;
  std::unique_ptr<Yuv420Picture> picture_;
  int videoTrack_ = 0;
  std::unique_ptr<AacEncoder> audio_;
  std::unique_ptr<SoundResampler> resampler_;
  int audioTrack_ = 0;
  std::vector<std::int16_t> soundQueue_;  // at the track's rate, not yet a whole frame
  std::vector<std::int16_t> resampled_;
  std::uint64_t soundGiven_ = 0;  // frames at the track's rate
  std::uint64_t soundEncoded_ = 0;
  std::optional<std::string> error_;  // the writer thread's own until it ends

  std::mutex mutex_;
  std::condition_variable wake_;   // the writer thread: something to do
  std::condition_variable taken_;  // a waiting caller: room in the queue
  std::deque<VideoFrame> frames_;
  std::deque<Sound> sounds_;
  std::size_t queuedSound_ = 0;
  std::size_t droppedSound_ = 0;
  std::int64_t lastTime_ = -1;
  bool finishing_ = false;
  std::thread thread_;

  std::mutex finishMutex_;
  bool finished_ = false;
};

std::optional<std::string> IsoMovieWriter::open(const std::string& path) {
  path_ = path;
  const bool recording = path.ends_with(".m4a");
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
  std::string error;
  if (picture) {
    // 4:2:0 needs even sides.
    video_ = H264Encoder::open(options_.width & ~1, options_.height & ~1, options_.framesPerSecond,
                               kVideoTimescale, error);
    if (!video_) return error;
    picture_ = std::make_unique<Yuv420Picture>(options_.width, options_.height);
  }
  if (options_.audioSampleRate > 0) {
    audio_ = AacEncoder::open(options_.audioSampleRate, channels_, error);
    if (!audio_) return error;
    resampler_ = std::make_unique<SoundResampler>(inputRate_, options_.audioSampleRate, channels_);
  }
  unindexedPath_ = recording ? path + ".unindexed" : path;
  file_ = IsoMovieFile::create(
      unindexedPath_, recording ? IsoMovieFile::Brand::mpeg4Audio : IsoMovieFile::Brand::quickTime,
      error);
  if (!file_) return recording ? "cannot write " + path + ": " + error : error;
  if (video_) {
    videoTrack_ = file_->addVideo(
        {picture_->width(), picture_->height(), video_->configuration(), kVideoTimescale});
  }
  if (audio_) {
    audioTrack_ =
        file_->addAudio({options_.audioSampleRate, channels_, audio_->audioSpecificConfig(),
                         audio_->bitRate(), AacEncoder::kPriming});
  }
  thread_ = std::thread([this] { run(); });
  return std::nullopt;
}

void IsoMovieWriter::addVideoFrame(const std::uint8_t* pixels, int width, int height, int rowStride,
                                   double seconds) {
  if (!video_ || pixels == nullptr || width <= 0 || height <= 0 || rowStride < width * 4) return;
  if (!(seconds >= 0) || !thread_.joinable()) return;
  const std::int64_t time = std::llround(seconds * kVideoTimescale);
  {
    std::unique_lock lock(mutex_);
    if (!options_.realTime) {
      taken_.wait(lock, [this] { return finishing_ || frames_.size() < kQueuedFrames; });
    }
    if (finishing_ || time <= lastTime_ || frames_.size() >= kQueuedFrames) return;
    lastTime_ = time;
  }
  // Copied outside the lock: the writer thread keeps encoding meanwhile.
  const auto rowBytes = static_cast<std::size_t>(width) * 4;
  VideoFrame frame{std::vector<std::uint8_t>(rowBytes * static_cast<std::size_t>(height)), width,
                   height, time};
  for (int y = 0; y < height; ++y) {
    std::memcpy(&frame.pixels[static_cast<std::size_t>(y) * rowBytes],
                pixels + static_cast<std::ptrdiff_t>(y) * rowStride, rowBytes);
  }
  std::lock_guard lock(mutex_);
  if (finishing_) return;
  frames_.push_back(std::move(frame));
  wake_.notify_one();
}

void IsoMovieWriter::addAudio(const std::int16_t* samples, std::size_t frameCount) {
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

std::optional<std::string> IsoMovieWriter::finish() {
  std::lock_guard once(finishMutex_);
  if (!finished_) {
    {
      std::lock_guard lock(mutex_);
      finishing_ = true;
      wake_.notify_one();
      taken_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
    file_.reset();
    finished_ = true;
  }
  return error_;
}

void IsoMovieWriter::run() {
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
  if (error_ && unindexedPath_ != path_) {
    std::error_code ignored;
    std::filesystem::remove(unindexedPath_, ignored);
  }
}

void IsoMovieWriter::encode(const VideoFrame& frame) {
  picture_->fill(frame.pixels.data(), frame.width, frame.height, frame.width * 4);
  std::string error;
  auto sample = video_->encode(*picture_, frame.time, error);
  if (!error.empty()) return fail(error);
  if (sample) {
    file_->writeVideo(videoTrack_, sample->data.data(), sample->data.size(), sample->time,
                      sample->sync);
  }
}

void IsoMovieWriter::encode(const Sound& sound) {
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

void IsoMovieWriter::putSound(const std::int16_t* samples, std::size_t frameCount) {
  resampled_.clear();
  resampler_->push(samples, frameCount, resampled_);
  soundQueue_.insert(soundQueue_.end(), resampled_.begin(), resampled_.end());
  soundGiven_ += resampled_.size() / static_cast<std::size_t>(channels_);
  encodeWholeFrames();
}

void IsoMovieWriter::encodeWholeFrames() {
  const std::size_t frame = AacEncoder::kFrameSamples * static_cast<std::size_t>(channels_);
  std::size_t used = 0;
  for (; !error_ && soundQueue_.size() - used >= frame; used += frame) {
    std::string error;
    auto coded = audio_->encode(soundQueue_.data() + used, error);
    if (!coded) return fail(error);
    file_->writeAudio(audioTrack_, coded->data(), coded->size(), AacEncoder::kFrameSamples);
    soundEncoded_ += AacEncoder::kFrameSamples;
  }
  soundQueue_.erase(soundQueue_.begin(), soundQueue_.begin() + static_cast<std::ptrdiff_t>(used));
}

void IsoMovieWriter::close() {
  if (audio_) {
    // The resampler's tail, then silence until the encoder has let out the last sample given.
    resampled_.clear();
    resampler_->finish(resampled_);
    soundQueue_.insert(soundQueue_.end(), resampled_.begin(), resampled_.end());
    soundGiven_ += resampled_.size() / static_cast<std::size_t>(channels_);
    const std::uint64_t needed = soundGiven_ + AacEncoder::kPriming;
    const std::uint64_t frames =
        (needed + AacEncoder::kFrameSamples - 1) / AacEncoder::kFrameSamples;
    const std::uint64_t padding = frames * AacEncoder::kFrameSamples - soundEncoded_ -
                                  soundQueue_.size() / static_cast<std::size_t>(channels_);
    soundQueue_.resize(soundQueue_.size() + padding * static_cast<std::size_t>(channels_), 0);
    encodeWholeFrames();
    file_->setHeardSamples(audioTrack_, soundGiven_);
  }
  // The last picture lasts one nominal frame; the others last until the next one.
  const auto lastDuration =
      static_cast<std::uint32_t>(std::lround(kVideoTimescale / options_.framesPerSecond));
  if (auto error = file_->finish(lastDuration)) fail(*error);
  if (unindexedPath_ != path_) {
    if (!error_) {
      if (auto error = writeIndexFirst(unindexedPath_, path_, IsoMovieFile::Brand::mpeg4Audio)) {
        fail(*error);
      }
    }
    std::error_code ignored;
    std::filesystem::remove(unindexedPath_, ignored);
  }
}

void IsoMovieWriter::fail(const std::string& what) {
  if (!error_) error_ = what;
}

}  // namespace

std::unique_ptr<MovieWriter> MovieWriter::open(const std::string& path, const Options& options,
                                               std::string& error) {
  auto writer = std::make_unique<IsoMovieWriter>(options);
  if (auto failure = writer->open(path)) {
    error = *failure;
    return nullptr;
  }
  return writer;
}

}  // namespace quorvel
