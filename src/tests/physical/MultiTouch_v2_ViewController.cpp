#include "tests/physical/MultiTouch_v2_ViewController.h"

#include <algorithm>

#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/PanGestureRecognizer.h"

namespace quorvel {

namespace keys = ScreenCustomizationKeys::multi_touch_v2;

namespace {

constexpr const char* kSlideOff = "imgSlideFingerOff";
constexpr const char* kSlideOn = "imgSlideFingerOn";

}  // namespace

MultiTouch_v2_ViewController::MultiTouch_v2_ViewController(ScreenContext context)
    : TestViewController("MultiTouch_v2_ViewController", ScreenType::multi_touch_v2, "uiHeaderView",
                         std::move(context)) {
  registerAction("uiBtNext_TouchUpInside", [this] { report(true); });
}

void MultiTouch_v2_ViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  backgroundView_->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().text(keys::Copy::title, "multi_touch_v2_title");
  look().styleTitle(title);
  auto& description = *lbDescription_;
  description.text = look().text(keys::Copy::text, "multi_touch_v2_description");
  look().styleBody(description);

  auto& slide = *imageSlide_;
  slide.image = look().image(keys::Elements::imageOff).value_or(Image::asset(kSlideOff));
  slide.tintColor.reset();

  auto& nextButton = *btNext_;
  nextButton.title = look().copy("next");
  look().styleMainButton(nextButton);
  nextButton.hidden = true;

  addGestureRecognizer(sliderView_.name(),
                       std::make_shared<PanGestureRecognizer>(
                           2, 2, [this](GestureRecognizer& sender) { panedView(sender); }));
  btCouldntCompleteTest_->userInteractionEnabled = true;
}

void MultiTouch_v2_ViewController::panedView(GestureRecognizer& sender) {
  // Reset on every event, the ended one included: the travel checked below is therefore the
  // final depth in the slider, however far the fingers moved.
  startLocation_ = {0, 0};
  double height = imageSlide_->bounds.height;
  switch (sender.state()) {
    case GestureState::changed:
      previousLocation_ = currentLocation_;
      currentLocation_ = sender.location();
      if (previousLocation_.y < currentLocation_.y) showSlideOn(currentLocation_.y / height);
      break;
    case GestureState::began:
      startLocation_ = sender.location();
      break;
    case GestureState::ended:
      if (sender.location().y - startLocation_.y > 0.9 * height) {
        showSlideOn(1.0);
        std::weak_ptr<ViewController> weak = weak_from_this();
        ports().mainQueue->async([weak] {
          if (auto self = std::static_pointer_cast<MultiTouch_v2_ViewController>(weak.lock())) {
            self->slideSucceeded();
          }
        });
      } else {
        // The person may try again at once.
        showSlideOff();
      }
      break;
    default:
      break;
  }
}

void MultiTouch_v2_ViewController::showSlideOff() {
  auto& slide = *imageSlide_;
  slide.image = Image::asset(kSlideOff);
  slide.tintColor.reset();
}

void MultiTouch_v2_ViewController::showSlideOn(double alpha) {
  auto& slide = *imageSlide_;
  slide.image = Image::asset(kSlideOn, true);
  // A colour's alpha lives in 0...1; fingers may go past either edge of the picture.
  slide.tintColor = look().themeColor().withAlpha(alpha > 0 ? std::min(alpha, 1.0) : 0.0);
}

void MultiTouch_v2_ViewController::slideSucceeded() {
  if (auto hostPicture = look().image(keys::Elements::imageOn)) {
    auto& slide = *imageSlide_;
    slide.image = *hostPicture;
    slide.tintColor.reset();
  } else {
    showSlideOn(1.0);
  }
  btNext_->hidden = false;
  // No later attempt may turn the picture off again.
  removeGestureRecognizers(sliderView_.name());
}

void MultiTouch_v2_ViewController::report(bool success) {
  if (auto target = delegate.lock()) {
    target->MultiTouch_v2_ViewControllerFinished(*this,
                                                 stamped({{"success", success}, {"version", "1"}}));
  }
}

void MultiTouch_v2_ViewController::couldNotCompleteTest() { report(false); }

void MultiTouch_v2_ViewController::cancelTest() {
  if (auto target = delegate.lock()) target->MultiTouch_v2_ViewControllerCancelled(*this);
}

}  // namespace quorvel
