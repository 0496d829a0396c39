#include "support/ScriptedMedia.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/ManualMainQueue.h"

namespace quorvel::testing {

// The handle a screen holds; releasing it ends the session.
class ScriptedCamera::Session : public CameraSession {
 public:
  Session(ScriptedCamera& camera, std::shared_ptr<Record> record)
      : camera_(camera), record_(std::move(record)) {}
  ~Session() override { record_->stop(camera_); }

  void stop() override { record_->stop(camera_); }
  bool startRecording(const std::string& moviePath,
                      std::function<void(std::optional<std::string>)> done) override {
    if (record_->scanning || record_->stopped || record_->recording || camera_.refusesRecording) {
      return false;
    }
    record_->recording = true;
    record_->recordingPath = moviePath;
    record_->finished = std::move(done);
    if (camera_.recordingsFailAfter > 0) {
      camera_.queue_->asyncAfter(camera_.recordingsFailAfter, [weak = std::weak_ptr(record_)] {
        auto alive = weak.lock();
        if (!alive || !std::exchange(alive->recording, false)) return;
        if (auto finished = std::exchange(alive->finished, nullptr)) {
          finished("the camera stopped recording");
        }
      });
    }
    return true;
  }
  void stopRecording() override { record_->stopRecording(camera_); }

 private:
  ScriptedCamera& camera_;
  std::shared_ptr<Record> record_;
};

void ScriptedCamera::Record::stop(ScriptedCamera& camera) {
  if (stopped) return;
  stopRecording(camera);
  stopped = true;
}

void ScriptedCamera::Record::stopRecording(ScriptedCamera& camera) {
  if (!recording) return;
  recording = false;
  std::ofstream(recordingPath, std::ios::binary) << "movie from the mirror";
  camera.queue_->async([done = std::exchange(finished, nullptr)] { done(std::nullopt); });
}

std::shared_ptr<CameraSession> ScriptedCamera::startScanning(
    std::function<void(const std::vector<std::string>&)> codesRead) {
  auto session = startCapture(false);
  if (session) {
    sessions.back()->scanning = true;
    sessions.back()->codesRead = std::move(codesRead);
  }
  return session;
}

std::shared_ptr<CameraSession> ScriptedCamera::startCapture(bool withMicrophone) {
  if (!present) return nullptr;
  if (!sessions.empty()) sessions.back()->stop(*this);
  sessions.push_back(std::make_shared<Record>());
  sessions.back()->withMicrophone = withMicrophone;
  return std::make_shared<Session>(*this, sessions.back());
}

bool ScriptedCamera::sees(std::vector<std::string> codes) {
  if (sessions.empty() || sessions.back()->stopped || !sessions.back()->scanning) return false;
  queue_->async([weak = std::weak_ptr(sessions.back()), codes = std::move(codes)] {
    auto alive = weak.lock();
    if (alive && !alive->stopped) alive->codesRead(codes);
  });
  return true;
}

void ScriptedMediaExport::exportMP4(const std::string& moviePath, const std::string& mp4Path,
                                    std::function<void(std::optional<std::string>)> completion) {
  if (fails) return completion("the exporter was told to fail");
  std::error_code error;
  std::filesystem::copy_file(moviePath, mp4Path, std::filesystem::copy_options::overwrite_existing,
                             error);
  completion(error ? std::optional(error.message()) : std::nullopt);
}

std::optional<Image> ScriptedMediaExport::thumbnail(const std::string& moviePath) {
  std::ifstream file(moviePath, std::ios::binary);
  if (!file) return std::nullopt;
  return Image::encoded(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(file), {}));
}

void RecordingAudioPlayer::playAsset(const std::string& assetName,
                                     std::function<void(bool)> finished) {
  play(assetName, std::ranges::find(assets, assetName) != assets.end(), std::move(finished));
}

void RecordingAudioPlayer::playFile(const std::string& path, std::function<void(bool)> finished) {
  play(path, std::filesystem::exists(path), std::move(finished));
}

void RecordingAudioPlayer::play(const std::string& name, bool exists,
                                std::function<void(bool)> finished) {
  const bool routed =
      session && session->category() == AudioCategory::playAndRecord && session->isActive();
  if (exists) {
    played.push_back({name, virtualNow(*playing_.queue_),
                      routed ? std::optional(session->outputRoute()) : std::nullopt});
  }
  playing_.start(std::move(finished), true);
  if (!exists) playing_.end(false);
}

std::vector<std::string> RecordingAudioPlayer::names() const {
  std::vector<std::string> result(played.size());
  std::ranges::transform(played, result.begin(), &Played::name);
  return result;
}

void RecordingVideoPlayback::play(const std::string& moviePath, Closed closed) {
  played.push_back(moviePath);
  playing_.start(std::move(closed), "");
  if (fails) {
    playing_.end("the player was told to fail");
  } else if (!std::filesystem::exists(moviePath)) {
    playing_.end("no movie at " + moviePath);
  }
}

}  // namespace quorvel::testing
