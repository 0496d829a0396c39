#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/platform/MainQueue.h"
#include "tests/audio/ReadText_v1_ViewControllerDelegate.h"
#include "tests/audio/RecordingViewController.h"

namespace quorvel {

// The microphone against a known word: the person records themselves saying the word shown, may
// listen and record again, and submits; the recording and the word go to the backend.
class ReadText_v1_ViewController : public RecordingViewController {
 public:
  explicit ReadText_v1_ViewController(ScreenContext context);
  ~ReadText_v1_ViewController() override;

  std::weak_ptr<ReadText_v1_ViewControllerDelegate> delegate;

  // The word shown; empty until the permission's answer sets the screen up.
  const std::string& word() const { return word_; }

  void viewDidLoad() override;
  void viewWillDisappear(bool animated) override;

  // "%02d:%02d" of whole seconds.
  static std::string timerText(double seconds);

 private:
  void permissionAnswered() override;
  void record();
  void recordingEnded(bool successfully);
  void play();
  void showIdle();
  void showRecordButton(bool recording);
  void tick();
  Dictionary result(bool success, const std::optional<std::string>& url) const override;
  void reportFinished(const Dictionary& result) override;
  void reportCancelled() override;

  std::string word_;
  bool playing_ = false;
  unsigned playback_ = 0;
  double recordingDuration_ = 0;
  std::shared_ptr<WorkItem> timer_;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<Label> lbWord_{*this, "uiLbWord"};
  Outlet<Label> lbTimer_{*this, "uiLbTimer"};
  Outlet<Button> btRecord_{*this, "uiBtRecord"};
  Outlet<Button> btPlay_{*this, "uiBtPlay"};
  Outlet<Button> btRecordAgain_{*this, "uiBtRecordAgain"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
};

}  // namespace quorvel
