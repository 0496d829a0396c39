#pragma once

#include <memory>

#include "quorvel/ui/Geometry.h"
#include "tests/TestViewController.h"
#include "tests/physical/MultiTouch_v2_ViewControllerDelegate.h"

namespace quorvel {

class GestureRecognizer;

// Two fingers slid down over a picture of lines: the picture fills in with the depth, and a slide
// that ends below 90% of its height turns it on and shows Next.
class MultiTouch_v2_ViewController : public TestViewController {
 public:
  explicit MultiTouch_v2_ViewController(ScreenContext context);

  std::weak_ptr<MultiTouch_v2_ViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void panedView(GestureRecognizer& sender);
  void showSlideOff();
  // The bundle's "on" picture as a template, tinted with the theme colour at alpha.
  void showSlideOn(double alpha);
  void slideSucceeded();
  void report(bool success);
  void couldNotCompleteTest() override;
  void cancelTest() override;

  Point startLocation_;
  Point previousLocation_;
  Point currentLocation_;

  Outlet<View> backgroundView_{*this, "uiBackgroundView"};
  Outlet<View> headerContainerView_{*this, "uiHeaderContainerView"};
  Outlet<View> testView_{*this, "uiTestView"};
  Outlet<View> sliderView_{*this, "uiSliderView"};
  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<ImageView> imageSlide_{*this, "uiImageSlide"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
};

}  // namespace quorvel
