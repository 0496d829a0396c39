#include "tests/audio/RecordingViewController.h"

#include <filesystem>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/LoadingView.h"
#include "support/Logging.h"
#include "tests/RecordingUpload.h"

namespace quorvel {

RecordingViewController::RecordingViewController(std::string interfaceName, std::string testKey,
                                                 std::string headerView, std::string recordingName,
                                                 ScreenContext context)
    : TestViewController(std::move(interfaceName), std::move(testKey), std::move(headerView),
                         std::move(context)),
      recordingPath_(documentsFile(recordingName)) {}

RecordingViewController::~RecordingViewController() {
  if (recording_) recording_->stop();
  if (loadingView_) loadingView_->removeFromWindow();
}

void RecordingViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  preparePlayAndRecord(playsOnLoudspeaker());
  ports().audioRecorder->requestRecordPermission(whileAlive<bool>([this](bool granted) {
    recordAvailable_ = granted;
    permissionAnswered();
  }));
}

void RecordingViewController::viewWillDisappear(bool animated) {
  TestViewController::viewWillDisappear(animated);
  // Nothing records or plays behind the next screen.
  if (!uploading_) stopRecording();
  ports().audioPlayer->stop();
}

bool RecordingViewController::startRecording(std::function<void(bool)> ended) {
  stopRecording();
  const unsigned number = ++recordingNumber_;
  // A replaced recording's end is not this one's.
  recording_ = ports().audioRecorder->record(recordingPath_, AudioRecorder::Settings{},
                                             whileAlive<bool>([this, number, ended](bool done) {
                                               if (number == recordingNumber_) ended(done);
                                             }));
  return recording_ != nullptr;
}

void RecordingViewController::stopRecording() {
  if (recording_) recording_->stop();
}

void RecordingViewController::showLoadingView() {
  if (!loadingView_) loadingView_ = std::make_shared<LoadingView>();
  loadingView_->show(ports().application->keyWindow());
}

void RecordingViewController::removeLoadingView() {
  if (loadingView_) loadingView_->removeFromWindow();
}

void RecordingViewController::submit() {
  if (uploading_ || finished_) return;
  uploading_ = true;
  stopRecording();
  showLoadingView();
  RecordingUpload::send(look().context(), recordingPath_, recordingPath_, weak_from_this(),
                        [this](std::optional<std::string> url) { finish(result(bool(url), url)); });
}

void RecordingViewController::finish(const Dictionary& outcome) {
  if (finished_) return;
  finished_ = true;
  stopRecording();
  recording_ = nullptr;
  if (loadingView_) {
    if (outcome.value("success", false)) {
      loadingView_->fadeOutAndRemove(0.1);
    } else {
      loadingView_->removeFromWindow();
    }
  }
  reportFinished(outcome);
}

Dictionary RecordingViewController::result(bool success,
                                           const std::optional<std::string>& url) const {
  Dictionary values = stamped({{"success", success}, {"version", "1"}});
  if (url) values["url"] = *url;
  return values;
}

void RecordingViewController::couldNotCompleteTest() {
  if (uploading_) return;
  finish(result(false, std::nullopt));
}

void RecordingViewController::cancelTest() {
  if (uploading_ || finished_) return;
  finished_ = true;
  stopRecording();
  if (loadingView_) loadingView_->removeFromWindow();
  reportCancelled();
}

}  // namespace quorvel
