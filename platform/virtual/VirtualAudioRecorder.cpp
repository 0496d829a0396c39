#include "quorvel/virtual/VirtualAudioRecorder.h"

#include "media/PcmRecording.h"
#include "quorvel/Fatal.h"
#include "quorvel/virtual/VirtualMicrophone.h"
#include "support/Logging.h"

namespace quorvel {

namespace {

// How often the microphone's sound is handed to the encoder.
constexpr double kTakeInterval = 0.1;

// Moves what the microphone heard into the recording until the recording ends.
void keepTaking(std::weak_ptr<PcmRecording> weak, std::shared_ptr<VirtualMicrophone> microphone,
                std::shared_ptr<MainQueue> queue) {
  auto recording = weak.lock();
  if (!recording || !recording->isRecording()) return;
  const auto samples = microphone->take();
  recording->add(samples.data(), samples.size());
  queue->asyncAfter(kTakeInterval,
                    [weak, microphone, queue] { keepTaking(weak, microphone, queue); });
}

}  // namespace

VirtualAudioRecorder::VirtualAudioRecorder(std::shared_ptr<const VirtualRoom> room,
                                           std::shared_ptr<MainQueue> mainQueue)
    : room_(std::move(room)), mainQueue_(std::move(mainQueue)) {
  if (!room_ || !mainQueue_) QUORVEL_FATAL("a virtual recorder needs a room and a main queue");
}

void VirtualAudioRecorder::requestRecordPermission(std::function<void(bool granted)> answer) {
  mainQueue_->async([answer = std::move(answer)] { answer(true); });
}

std::shared_ptr<AudioRecording> VirtualAudioRecorder::record(
    const std::string& path, const Settings& settings,
    std::function<void(bool successfully)> finished) {
  std::string error;
  auto recording = PcmRecording::open(path, settings, VirtualRoom::kSampleRate, mainQueue_,
                                      std::move(finished), error);
  if (!recording) {
    logLine("The recording cannot start: " + error);
    return nullptr;
  }
  auto microphone = std::make_shared<VirtualMicrophone>(room_);
  // The last sound heard goes in before the file closes.
  std::weak_ptr<PcmRecording> weak = recording;
  recording->setOnEnd([weak, microphone] {
    if (auto alive = weak.lock()) {
      const auto samples = microphone->take();
      alive->add(samples.data(), samples.size());
    }
  });
  keepTaking(recording, microphone, mainQueue_);
  return recording;
}

}  // namespace quorvel
