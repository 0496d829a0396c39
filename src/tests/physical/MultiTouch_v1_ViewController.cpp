#include "tests/physical/MultiTouch_v1_ViewController.h"

#include "quorvel/ScreenType.h"
#include "quorvel/ui/TapGestureRecognizer.h"

namespace quorvel {

MultiTouch_v1_ViewController::MultiTouch_v1_ViewController(ScreenContext context)
    : TestViewController("MultiTouch_v1_ViewController", ScreenType::multi_touch_v1, "uiHeaderView",
                         std::move(context)) {}

void MultiTouch_v1_ViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  view()->backgroundColor = look().backgroundColor();
  auto& title = *lbTitle_;
  title.text = look().copy("multi_touch_title");
  look().styleTitle(title);
  auto& description = *lbDescription_;
  description.text = look().copy("multi_touch_description");
  look().styleBody(description);

  removeGestureRecognizers(view().name());
  addGestureRecognizer(view().name(), std::make_shared<TapGestureRecognizer>(
                                          3, [this](GestureRecognizer&) { tapDetected(); }));
}

void MultiTouch_v1_ViewController::tapDetected() {
  // Gone before reporting, so that a second tap cannot report again.
  removeGestureRecognizers(view().name());
  report(true);
}

void MultiTouch_v1_ViewController::report(bool success) {
  if (auto target = delegate.lock()) {
    target->MultiTouch_v1_ViewControllerFinished(*this,
                                                 stamped({{"success", success}, {"version", "1"}}));
  }
}

void MultiTouch_v1_ViewController::couldNotCompleteTest() { report(false); }

void MultiTouch_v1_ViewController::cancelTest() {
  if (auto target = delegate.lock()) target->MultiTouch_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
