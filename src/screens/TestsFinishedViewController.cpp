#include "screens/TestsFinishedViewController.h"

#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "quorvel/Version.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

namespace keys = ScreenCustomizationKeys::end_screen;

TestsFinishedViewController::TestsFinishedViewController(ScreenContext context)
    : ViewController("TestsFinishedViewController"),
      look_(std::move(context), ScreenType::end_screen) {
  registerOutlet<View>("uiBackgroundView");
  registerOutlet<ImageView>("uiViewImage");
  registerOutlet<ImageView>("uiCustomImage");
  registerOutlet<Label>("uiLbText");
  registerOutlet<Button>("uiBtDone");
  registerOutlet<Button>("uiBtTestAgain");
  registerOutlet<Label>("uiVersionLabel");

  registerAction("uiBtDone_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->TestsFinishedViewControllerDidFinish(*this);
  });
  registerAction("uiBtTestAgain_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->TestsFinishedViewControllerTestAgainPressed(*this);
  });
}

void TestsFinishedViewController::viewDidLoad() {
  const auto& look = look_;

  outlet<View>("view").backgroundColor = look.backgroundColor();
  outlet<View>("uiBackgroundView").backgroundColor = look.backgroundColor();

  auto custom = look.image(keys::Elements::image);
  auto& customImage = outlet<ImageView>("uiCustomImage");
  auto& builtIn = outlet<ImageView>("uiViewImage");
  customImage.image = custom;
  customImage.hidden = !custom;
  builtIn.image = Image::asset("end_illustration");
  builtIn.hidden = custom.has_value();

  auto& text = outlet<Label>("uiLbText");
  text.text = look.text(keys::Copy::text, "end_screen_title");
  look.styleTitle(text);

  auto& done = outlet<Button>("uiBtDone");
  done.title = look.text(keys::Copy::buttonFinish, "end_screen_done");
  look.styleMainButton(done);
  auto& again = outlet<Button>("uiBtTestAgain");
  again.title = look.text(keys::Copy::buttonTestAgain, "test_again");
  look.styleMainButton(again);

  auto& version = outlet<Label>("uiVersionLabel");
  version.text = look.copy("version") + " " + QuorvelVersionString;
  look.styleBody(version);
}

}  // namespace quorvel
