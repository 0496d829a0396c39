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
  outlet<View>("view").backgroundColor = look_.backgroundColor();
  outlet<View>("uiBackgroundView").backgroundColor = look_.backgroundColor();

  auto custom = look_.image(keys::Elements::image);
  auto& customImage = outlet<ImageView>("uiCustomImage");
  auto& builtIn = outlet<ImageView>("uiViewImage");
  customImage.image = custom;
  customImage.hidden = !custom;
  builtIn.image = Image::asset("end_illustration");
  builtIn.hidden = custom.has_value();

  auto& text = outlet<Label>("uiLbText");
  text.text = look_.text(keys::Copy::text, "end_screen_title");
  look_.styleTitle(text);

  auto& done = outlet<Button>("uiBtDone");
  done.title = look_.text(keys::Copy::buttonFinish, "end_screen_done");
  look_.styleMainButton(done);
  auto& again = outlet<Button>("uiBtTestAgain");
  again.title = look_.text(keys::Copy::buttonTestAgain, "test_again");
  look_.styleMainButton(again);

  auto& version = outlet<Label>("uiVersionLabel");
  version.text = look_.copy("version") + " " + QuorvelVersionString;
  look_.styleBody(version);
}

}  // namespace quorvel
