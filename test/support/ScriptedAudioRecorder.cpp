#include "support/ScriptedAudioRecorder.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "support/ManualMainQueue.h"

namespace quorvel::testing {

double ScriptedAudioRecorder::Recording::now() const { return virtualNow(*queue); }

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
  recording->path = path;
  recording->settings = settings;
  recording->finished = std::move(finished);
  recording->queue = queue_;
  recording->startedAt = recording->now();
  recordings.push_back(recording);
  if (failsAfter > 0) {
    queue_->asyncAfter(failsAfter, [weak = std::weak_ptr(recording)] {
      if (auto alive = weak.lock()) alive->end(false);
    });
  }
  return recording;
}

}  // namespace quorvel::testing
