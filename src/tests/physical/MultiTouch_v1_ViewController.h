#pragma once

#include <memory>

#include "tests/TestViewController.h"
#include "tests/physical/MultiTouch_v1_ViewControllerDelegate.h"

namespace quorvel {

// Passes on the first tap with exactly three fingers anywhere on the screen.
class MultiTouch_v1_ViewController : public TestViewController {
 public:
  explicit MultiTouch_v1_ViewController(ScreenContext context);

  std::weak_ptr<MultiTouch_v1_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void tapDetected();
  void report(bool success);
  void couldNotCompleteTest() override;
  void cancelTest() override;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
};

}  // namespace quorvel
