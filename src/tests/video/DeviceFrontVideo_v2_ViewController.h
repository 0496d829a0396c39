#pragma once

#include <memory>

#include "quorvel/platform/Subscription.h"
#include "tests/video/DeviceFrontVideoViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewControllerDelegate.h"

namespace quorvel {

// The screen video test started by a button: the person sees the camera's picture, starts the
// recording, and it ends by itself after the colours and the end code, with a spoken track over
// it. The person confirms by a check box that the whole screen was in the film. Every text and the
// first picture can be the host's own.
class DeviceFrontVideo_v2_ViewController : public DeviceFrontVideoViewController {
 public:
  explicit DeviceFrontVideo_v2_ViewController(ScreenContext context);

  std::weak_ptr<DeviceFrontVideo_v2_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

  // The last output volume the system reported.
  float currentVolume() const { return currentVolume_; }

 private:
  void next();
  void showPreview();
  void startRecordingPressed();
  void termsToggled();
  void initialShown() override;
  void reviewShown() override;
  std::string infoText() const override;
  void report(const Dictionary& result) override;
  void reportCancelled() override;

  float currentVolume_ = 0;
  bool termsAccepted_ = false;
  // Held for the screen's lifetime, not only while it shows: the level matters at any step.
  Subscription volumeObservation_;

  Outlet<VideoPreview> viewVideoPreview_{*this, "uiViewVideoPreview"};
  Outlet<View> videoOverlay_{*this, "uiVideoOverlay"};
  Outlet<Button> btStartRecording_{*this, "uiBtStartRecording"};
  Outlet<CheckBox> checkBoxTerms_{*this, "uiCheckBoxTerms"};
};

}  // namespace quorvel
