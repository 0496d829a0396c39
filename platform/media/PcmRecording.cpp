#include "media/PcmRecording.h"

#include <utility>

#include "media/MovieWriter.h"
#include "support/Logging.h"

namespace quorvel {

std::shared_ptr<PcmRecording> PcmRecording::open(const std::string& path,
                                                 const AudioRecorder::Settings& settings,
                                                 int inputRate,
                                                 std::shared_ptr<MainQueue> mainQueue,
                                                 Finished finished, std::string& error) {
  MovieWriter::Options options;
  options.audioSampleRate = settings.sampleRate;
  options.audioChannels = settings.channels;
  options.audioInputRate = inputRate;
  // A recording keeps every sample: the capturer waits rather than lose sound.
  options.realTime = false;
  auto writer = MovieWriter::open(path, options, error);
  if (!writer) return nullptr;
  return std::shared_ptr<PcmRecording>(
      new PcmRecording(std::move(writer), inputRate, std::move(mainQueue), std::move(finished)));
}

PcmRecording::PcmRecording(std::unique_ptr<MovieWriter> writer, int inputRate,
                           std::shared_ptr<MainQueue> mainQueue, Finished finished)
    : writer_(std::move(writer)),
      inputRate_(inputRate),
      mainQueue_(std::move(mainQueue)),
      finished_(std::move(finished)) {}

PcmRecording::~PcmRecording() { stop(); }

void PcmRecording::add(const std::int16_t* samples, std::size_t frameCount) {
  std::lock_guard lock(mutex_);
  if (ended_) return;
  writer_->addAudio(samples, frameCount);
  frames_ += frameCount;
}

void PcmRecording::fail(const std::string& why) { end(why); }

void PcmRecording::stop() { end(std::nullopt); }

double PcmRecording::currentTime() const {
  return static_cast<double>(frames_.load()) / inputRate_;
}

void PcmRecording::end(std::optional<std::string> failure) {
  if (ending_.exchange(true)) return;
  // The capturer's last sound is still taken.
  if (auto onEnd = std::exchange(onEnd_, nullptr)) onEnd();
  std::optional<std::string> error;
  {
    std::lock_guard lock(mutex_);
    ended_ = true;
    error = writer_->finish();
  }
  if (!failure) failure = error;
  if (failure) logLine("The recording failed: " + *failure);
  if (auto finished = std::exchange(finished_, nullptr)) {
    mainQueue_->async([finished, ok = !failure] { finished(ok); });
  }
}

}  // namespace quorvel
