#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/MainQueue.h"

namespace quorvel {

class MovieWriter;

// A recording fed with 16-bit PCM by whatever captures the sound (a sound card, a virtual
// microphone) and written as an AAC .m4a at the recorder's settings. finished runs once on the
// main queue: true after stop() with a complete file, false when writing or capturing failed.
class QUORVEL_EXPORT PcmRecording : public AudioRecording {
 public:
  using Finished = std::function<void(bool successfully)>;

  // A recording into path of interleaved samples at inputRate with the settings' channels; null
  // with error set when the file cannot be written.
  static std::shared_ptr<PcmRecording> open(const std::string& path,
                                            const AudioRecorder::Settings& settings, int inputRate,
                                            std::shared_ptr<MainQueue> mainQueue, Finished finished,
                                            std::string& error);
  ~PcmRecording() override;

  // Any one thread at a time; ignored once stopped.
  void add(const std::int16_t* samples, std::size_t frameCount);
  // The capture broke: the recording ends unsuccessfully.
  void fail(const std::string& why);
  // Set by the capturer: runs once, first thing in stop() or fail(), to stop feeding.
  void setOnEnd(std::function<void()> onEnd) { onEnd_ = std::move(onEnd); }

  void stop() override;
  bool isRecording() const override { return !ending_; }
  double currentTime() const override;

 private:
  PcmRecording(std::unique_ptr<MovieWriter> writer, int inputRate,
               std::shared_ptr<MainQueue> mainQueue, Finished finished);
  void end(std::optional<std::string> failure);

  std::unique_ptr<MovieWriter> writer_;
  const int inputRate_;
  std::shared_ptr<MainQueue> mainQueue_;
  Finished finished_;
  std::function<void()> onEnd_;
  std::mutex mutex_;
  std::atomic<bool> ending_{false};
  std::atomic<bool> ended_{false};
  std::atomic<std::uint64_t> frames_{0};
};

}  // namespace quorvel
