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
  registerAction("uiBtDone_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->TestsFinishedViewControllerDidFinish(*this);
  });
  registerAction("uiBtTestAgain_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->TestsFinishedViewControllerTestAgainPressed(*this);
  });
}

void TestsFinishedViewController::viewDidLoad() {
  view()->backgroundColor = look_.backgroundColor();
  backgroundView_->backgroundColor = look_.backgroundColor();

  auto custom = look_.image(keys::Elements::image);
  auto& customImage = *customImage_;
  auto& builtIn = *viewImage_;
  customImage.image = custom;
  customImage.hidden = !custom;
  builtIn.image = Image::asset("end_illustration");
  builtIn.hidden = custom.has_value();

  auto& text = *lbText_;
  text.text = look_.text(keys::Copy::text, "end_screen_title");
  look_.styleTitle(text);

  auto& done = *btDone_;
  done.title = look_.text(keys::Copy::buttonFinish, "end_screen_done");
  look_.styleMainButton(done);
  auto& again = *btTestAgain_;
  again.title = look_.text(keys::Copy::buttonTestAgain, "test_again");
  look_.styleMainButton(again);

  auto& version = *versionLabel_;
  version.text = look_.copy("version") + " " + QuorvelVersionString;
  look_.styleBody(version);
}

}  // namespace quorvel
