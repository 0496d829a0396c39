#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/platform/MediaExport.h"
#include "quorvel/platform/VideoPlayback.h"

namespace quorvel::testing {

// A front camera whose view the test decides: it "sees" the codes the test shows it, and a
// recording writes a small file when it stops. Answers come on the main queue, as a camera's do.
// A session ends when stopped or released; the test reads every session's record.
class ScriptedCamera : public Camera {
 public:
  struct Record {
    bool scanning = false;
    bool withMicrophone = false;
    bool stopped = false;
    std::string recordingPath;
    bool recording = false;
    std::function<void(const std::vector<std::string>&)> codesRead;
    std::function<void(std::optional<std::string>)> finished;

    void stop(ScriptedCamera& camera);
    void stopRecording(ScriptedCamera& camera);
  };

  explicit ScriptedCamera(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}

  // false: the device has no usable front camera.
  bool present = true;
  // Capture sessions that cannot record, as when the camera is taken or the disk is full.
  bool refusesRecording = false;
  // Every recording ends by itself with an error this long after it started; 0: never.
  double recordingsFailAfter = 0;
  // Every session started, oldest first.
  std::vector<std::shared_ptr<Record>> sessions;

  std::shared_ptr<CameraSession> startScanning(
      std::function<void(const std::vector<std::string>&)> codesRead) override;
  std::shared_ptr<CameraSession> startCapture(bool withMicrophone) override;

  // The running scanning session sees codes once; false when none scans.
  bool sees(std::vector<std::string> codes);

 private:
  class Session;
  std::shared_ptr<MainQueue> queue_;
};

// Export as a copy of the movie (or a failure the test asks for); the thumbnail is a file's
// bytes, so a test can tell which file it came from.
class ScriptedMediaExport : public MediaExport {
 public:
  bool fails = false;

  void exportMP4(const std::string& moviePath, const std::string& mp4Path,
                 std::function<void(std::optional<std::string>)> completion) override;
  std::optional<Image> thumbnail(const std::string& moviePath) override;
};

// One thing playing at a time for a second by the main queue's clock; it ends with an answer on
// the queue, when its second is over or when something takes its place.
template <class Answer>
class OnePlaying {
 public:
  explicit OnePlaying(std::shared_ptr<MainQueue> queue) : queue_(std::move(queue)) {}
  ~OnePlaying() {
    if (timer_) timer_->cancel();
  }

  void start(std::function<void(Answer)> done, Answer atTheEnd) {
    end(Answer{});
    done_ = std::move(done);
    timer_ = queue_->asyncAfter(1.0, [this, atTheEnd] { end(atTheEnd); });
  }
  void end(Answer answer) {
    if (timer_) timer_->cancel();
    timer_ = nullptr;
    if (done_) queue_->async([done = std::exchange(done_, nullptr), answer] { done(answer); });
  }
  std::shared_ptr<MainQueue> queue_;

 private:
  std::function<void(Answer)> done_;
  std::shared_ptr<WorkItem> timer_;
};

// Writes down what is played and when, by the main queue's clock. Every sound of the bundle lasts
// a second; other names and files that are not there fail.
class RecordingAudioPlayer : public AudioPlayer {
 public:
  explicit RecordingAudioPlayer(std::shared_ptr<MainQueue> queue) : playing_(std::move(queue)) {}

  struct Played {
    std::string name;
    double at;
    // Where the session sent it, when the player has a session.
    std::optional<AudioRoute> route;
  };
  std::vector<Played> played;
  // The audio session whose route each sound is written down with.
  std::shared_ptr<AudioSession> session;
  std::vector<std::string> assets = {
      "beep",           "testfile",      "video_test_audio_EN", "video_test_audio_PT",
      "en-US-computer", "en-US-dog",     "en-US-paper",         "en-US-purple",
      "en-US-table",    "pt-PT-cadeira", "pt-PT-computador",    "pt-PT-livro",
      "pt-PT-mesa",     "pt-PT-telefone"};

  void playAsset(const std::string& assetName, std::function<void(bool)> finished) override;
  void playFile(const std::string& path, std::function<void(bool)> finished) override;
  void stop() override { playing_.end(false); }
  double currentTime() const override { return 0; }

  std::vector<std::string> names() const;

 private:
  void play(const std::string& name, bool exists, std::function<void(bool)> finished);
  OnePlaying<bool> playing_;
};

// Writes down the movies played. A movie that is there plays for a second by the main queue's
// clock; one that is not closes at once with a problem.
class RecordingVideoPlayback : public VideoPlayback {
 public:
  using Closed = std::function<void(const std::string& problem)>;
  explicit RecordingVideoPlayback(std::shared_ptr<MainQueue> queue) : playing_(std::move(queue)) {}

  std::vector<std::string> played;
  // Every movie closes at once with a problem, as when the platform cannot decode it.
  bool fails = false;
  void play(const std::string& moviePath, Closed closed) override;
  // The person closes the player.
  void close() { playing_.end(""); }

 private:
  OnePlaying<std::string> playing_;
};

}  // namespace quorvel::testing
