#pragma once

#include <memory>

#include "quorvel/ui/ViewController.h"
#include "screens/TestsFinishedViewControllerDelegate.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

// The last screen of a run: finish (submits the results) or test again.
class TestsFinishedViewController : public ViewController {
 public:
  explicit TestsFinishedViewController(ScreenContext context);

  std::weak_ptr<TestsFinishedViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  ScreenAppearance look_;

  Outlet<View> backgroundView_{*this, "uiBackgroundView"};
  Outlet<ImageView> viewImage_{*this, "uiViewImage"};
  Outlet<ImageView> customImage_{*this, "uiCustomImage"};
  Outlet<Label> lbText_{*this, "uiLbText"};
  Outlet<Button> btDone_{*this, "uiBtDone"};
  Outlet<Button> btTestAgain_{*this, "uiBtTestAgain"};
  Outlet<Label> versionLabel_{*this, "uiVersionLabel"};
};

}  // namespace quorvel
