#include "support/ScriptedAudioRecorder.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "support/ManualMainQueue.h"

namespace quorvel::testing {

void ScriptedAudioRecorder::Recording::end(bool successfully) {
  if (!isRecording()) return;
  stoppedAt = now();
  if (successfully) std::ofstream(path, std::ios::binary) << "recorded sound";
  if (auto done = std::exchange(finished, nullptr)) {
    queue->async([done, successfully] { done(successfully); });
  }
}

void ScriptedAudioRecorder::requestRecordPermission(std::function<void(bool granted)> answer) {
  queue_->async([answer = std::move(answer), granted = permission] { answer(granted); });
}

std::shared_ptr<AudioRecording> ScriptedAudioRecorder::record(
    const std::string& path, const Settings& settings,
    std::function<void(bool successfully)> finished) {
  // As a real recorder, nothing starts that cannot be written.
  if (!canRecord || !std::filesystem::is_directory(std::filesystem::path(path).parent_path())) {
    return nullptr;
  }
  auto recording = std::make_shared<Recording>();
  auto* manual = dynamic_cast<ManualMainQueue*>(queue_.get());
  recording->now = [manual] { return manual ? manual->now() : 0.0; };
  recording->path = path;
  recording->settings = settings;
  recording->startedAt = recording->now();
  recording->finished = std::move(finished);
  recording->queue = queue_;
  recordings.push_back(recording);
  if (failsAfter > 0) {
    std::weak_ptr<Recording> weak = recording;
    queue_->asyncAfter(failsAfter, [weak] {
      if (auto alive = weak.lock()) alive->end(false);
    });
  }
  return recording;
}

}  // namespace quorvel::testing
