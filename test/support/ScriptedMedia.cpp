#include "support/ScriptedMedia.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/ManualMainQueue.h"

namespace quorvel::testing {

void ScriptedCamera::Session::stop() {
  if (stopped) return;
  stopRecording();
  stopped = true;
}

bool ScriptedCamera::Session::startRecording(const std::string& moviePath,
                                             std::function<void(std::optional<std::string>)> done) {
  if (scanning || stopped || recording) return false;
  recording = true;
  recordingPath = moviePath;
  finished = std::move(done);
  return true;
}

void ScriptedCamera::Session::stopRecording() {
  if (!recording) return;
  recording = false;
  std::optional<std::string> error = camera->recordingError;
  if (!error) std::ofstream(recordingPath, std::ios::binary) << "movie from the mirror";
  camera->queue_->async([done = std::move(finished), error] { done(error); });
  finished = nullptr;
}

std::shared_ptr<ScriptedCamera::Session> ScriptedCamera::begin(bool scanning) {
  if (!present) return nullptr;
  if (auto before = running()) before->stop();
  auto session = std::make_shared<Session>();
  session->scanning = scanning;
  session->camera = this;
  sessions.push_back(session);
  return session;
}

std::shared_ptr<CameraSession> ScriptedCamera::startScanning(
    std::function<void(const std::vector<std::string>&)> codesRead) {
  auto session = begin(true);
  if (session) session->codesRead = std::move(codesRead);
  return session;
}

std::shared_ptr<CameraSession> ScriptedCamera::startCapture(bool withMicrophone) {
  auto session = begin(false);
  if (session) session->withMicrophone = withMicrophone;
  return session;
}

std::shared_ptr<ScriptedCamera::Session> ScriptedCamera::running() const {
  if (sessions.empty() || sessions.back()->stopped) return nullptr;
  return sessions.back();
}

bool ScriptedCamera::sees(std::vector<std::string> codes) {
  auto session = running();
  if (!session || !session->scanning) return false;
  std::weak_ptr<Session> weak = session;
  queue_->async([weak, codes = std::move(codes)] {
    auto alive = weak.lock();
    if (alive && !alive->stopped) alive->codesRead(codes);
  });
  return true;
}

void ScriptedMediaExport::exportMP4(const std::string& moviePath, const std::string& mp4Path,
                                    std::function<void(std::optional<std::string>)> completion) {
  exports.emplace_back(moviePath, mp4Path);
  std::error_code error;
  if (fails || !std::filesystem::copy_file(
                   moviePath, mp4Path, std::filesystem::copy_options::overwrite_existing, error)) {
    completion(fails ? "the exporter was told to fail" : error.message());
    return;
  }
  completion(std::nullopt);
}

std::optional<Image> ScriptedMediaExport::thumbnail(const std::string& moviePath) {
  std::ifstream file(moviePath, std::ios::binary);
  if (!file) return std::nullopt;
  std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(file), {});
  return Image::encoded(std::move(bytes));
}

void RecordingAudioPlayer::playAsset(const std::string& assetName,
                                     std::function<void(bool)> finished) {
  finishCurrent(false);
  if (std::find(missing.begin(), missing.end(), assetName) != missing.end()) {
    queue_->async([finished] { finished(false); });
    return;
  }
  auto* manual = dynamic_cast<ManualMainQueue*>(queue_.get());
  played.push_back({assetName, manual ? manual->now() : 0});
  current_ = std::move(finished);
}

void RecordingAudioPlayer::playFile(const std::string& path, std::function<void(bool)> finished) {
  playAsset(path, std::move(finished));
}

void RecordingAudioPlayer::stop() { finishCurrent(false); }

void RecordingAudioPlayer::finishCurrent(bool successfully) {
  if (!current_) return;
  queue_->async([done = std::move(current_), successfully] { done(successfully); });
  current_ = nullptr;
}

std::vector<std::string> RecordingAudioPlayer::names() const {
  std::vector<std::string> result;
  for (const auto& each : played) result.push_back(each.name);
  return result;
}

}  // namespace quorvel::testing
