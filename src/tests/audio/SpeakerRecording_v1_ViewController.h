#pragma once

#include <memory>

#include "tests/audio/RecordingViewController.h"
#include "tests/audio/SpeakerRecording_v1_ViewControllerDelegate.h"

namespace quorvel {

// The speaker and microphone together: the loudspeaker plays a known sound while the microphone
// records it, and the recording goes to the backend. The test ends with the sound.
class SpeakerRecording_v1_ViewController : public RecordingViewController {
 public:
  explicit SpeakerRecording_v1_ViewController(ScreenContext context);

  std::weak_ptr<SpeakerRecording_v1_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  // The sound is for the loudspeaker, whatever earpiece the device has (a deliberate choice).
  bool playsOnLoudspeaker() const override { return true; }
  void start();
  void soundEnded(bool successfully);
  void reportFinished(const Dictionary& result) override;
  void reportCancelled() override;

  bool started_ = false;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<Button> btStartTest_{*this, "uiBtStartTest"};
  Outlet<Button> btInfo_{*this, "uiBtInfo"};
};

}  // namespace quorvel
