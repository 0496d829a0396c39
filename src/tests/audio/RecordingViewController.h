#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/platform/AudioRecorder.h"
#include "tests/TestViewController.h"

namespace quorvel {

class LoadingView;

// What both recording tests share: the play-and-record session and the record permission asked
// on load, one recorder at a time into the documents folder (AAC, 12,000 Hz, one channel), and
// the submission: a loading view, the upload, the recording deleted, the result reported once.
class RecordingViewController : public TestViewController {
 public:
  ~RecordingViewController() override;

  bool recordAvailable() const { return recordAvailable_; }
  bool isRecording() const { return recording_ && recording_->isRecording(); }

  void viewDidLoad() override;
  void viewWillDisappear(bool animated) override;

 protected:
  RecordingViewController(std::string interfaceName, std::string testKey, std::string headerView,
                          std::string recordingName, ScreenContext context);

  const std::string& recordingPath() const { return recordingPath_; }
  bool finished() const { return finished_; }

  // Where the screen's sounds come out: the earpiece unless the screen says the loudspeaker.
  virtual bool playsOnLoudspeaker() const { return false; }
  // The permission's answer came (on load).
  virtual void permissionAnswered() {}
  // Replaces any recording with a new one into recordingPath(); ended runs once when the new one
  // ends (true: stopped and complete). False when no recording could start.
  bool startRecording(std::function<void(bool successfully)> ended);
  // Stops the recording (its file is complete when this returns) and lets it go.
  void stopRecording();
  double recordedSeconds() const { return recording_ ? recording_->currentTime() : 0; }

  void showLoadingView();
  void removeLoadingView();
  // Uploads the recording and reports the outcome.
  void submit();
  // Reports result (once) after taking the loading view away.
  void finish(const Dictionary& result);

  // The result: success, the upload's address, what the screen adds to it.
  virtual Dictionary result(bool success, const std::optional<std::string>& url) const;
  virtual void reportFinished(const Dictionary& result) = 0;
  virtual void reportCancelled() = 0;

 private:
  void couldNotCompleteTest() override;
  void cancelTest() override;

  std::string recordingPath_;
  bool recordAvailable_ = false;
  std::shared_ptr<AudioRecording> recording_;
  unsigned recordingNumber_ = 0;
  std::shared_ptr<LoadingView> loadingView_;
  bool uploading_ = false;
  bool finished_ = false;
};

}  // namespace quorvel
