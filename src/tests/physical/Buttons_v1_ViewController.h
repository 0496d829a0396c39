#pragma once

#include <memory>

#include "support/NotificationCenter.h"
#include "tests/TestViewController.h"
#include "tests/physical/Buttons_v1_ViewControllerDelegate.h"
#include "tests/physical/VolumeListener.h"

namespace quorvel {

// Volume up, volume down and a screenshot, in that order, each ended by its event or given up
// with the could-not-complete button. The screen finishes by itself after the screenshot phase.
class Buttons_v1_ViewController : public TestViewController {
 public:
  enum class TestPhase : int { VolumeUp = 0, VolumeDown = 1, Screenshot = 2 };

  explicit Buttons_v1_ViewController(ScreenContext context);

  std::weak_ptr<Buttons_v1_ViewControllerDelegate> delegate;

  TestPhase currentTestPhase() const { return currentTestPhase_; }
  float currentVolume() const { return currentVolume_; }

  void viewDidLoad() override;

 private:
  void showPhase();
  void userInteractedWithVolume(const Notification& notification);
  void userTookScreenshot();
  void endPhase(bool success);
  void finish();
  void couldNotCompleteTest() override;
  void cancelTest() override;

  TestPhase currentTestPhase_ = TestPhase::VolumeUp;
  Dictionary volumeUpResult_ = Dictionary::object();
  Dictionary volumeDownResult_ = Dictionary::object();
  Dictionary screenshotResult_ = Dictionary::object();
  VolumeListener volumeListener_;
  // The last level seen, to tell a press up from a press down.
  float currentVolume_;

  Outlet<ImageView> image_{*this, "uiImage"};
  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
};

}  // namespace quorvel
