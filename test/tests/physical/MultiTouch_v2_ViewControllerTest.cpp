#include <gtest/gtest.h>

#include "support/ScriptedFingers.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"

namespace {

using namespace quorvel;
using quorvel::testing::ScriptedFingers;

constexpr double kHeight = 200;  // of the picture; the line is at 180

class MultiTouch_v2_ViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  void showSlider() {
    screen = show<MultiTouch_v2_ViewController>();
    screen->outlet<View>("uiSliderView").bounds = {300, kHeight};
    screen->outlet<ImageView>("uiImageSlide").bounds = {300, kHeight};
    fingers = std::make_unique<ScriptedFingers>(screen, "uiSliderView");
  }

  const ImageView& slide() const { return screen->outlet<ImageView>("uiImageSlide"); }
  bool nextShown() const { return !screen->outlet<Button>("uiBtNext").hidden; }
  void expectTintedOn(double alpha) const {
    EXPECT_EQ(slide().image, Image::asset("imgSlideFingerOn", true));
    EXPECT_EQ(slide().tintColor, Customization::defaultThemeColor().withAlpha(alpha));
  }
  void expectOff() const {
    EXPECT_EQ(slide().image, Image::asset("imgSlideFingerOff"));
    EXPECT_FALSE(slide().tintColor);
  }

  std::shared_ptr<MultiTouch_v2_ViewController> screen;
  std::unique_ptr<ScriptedFingers> fingers;
};

TEST_F(MultiTouch_v2_ViewControllerTest, OnlyTwoFingersEndingBelowTheNinetyPercentLinePass) {
  struct Case {
    int fingers;
    double fromY, toY;
    bool passes;
  };
  for (const auto& c : std::vector<Case>{
           {2, 20, 0.9 * kHeight, false},  // exactly on the line
           {2, 199, 180.5, true},          // just below it, even upwards
           {1, 0, 199, false},
           {3, 0, 199, false},
       }) {
    SCOPED_TRACE(::testing::Message() << c.fingers << " fingers to " << c.toY);
    showSlider();
    fingers->slide(c.fingers, {150, c.fromY}, {150, c.toY});
    EXPECT_FALSE(nextShown());  // the success step waits for the main queue
    settle();
    EXPECT_EQ(nextShown(), c.passes);
  }
}

TEST_F(MultiTouch_v2_ViewControllerTest, PictureFillsInWithTheFingersAndTheHostsShowsAfterAPass) {
  auto custom = std::make_shared<Customization>();
  custom->customScreens.emplace_back(
      "multi_touch_v2", std::map<std::string, std::string>{},
      std::map<std::string, Image>{{"imageOff", Image::file("/host/off.png")},
                                   {"imageOn", Image::file("/host/on.png")}});
  context.customization = custom;
  showSlider();
  EXPECT_EQ(slide().image, Image::file("/host/off.png"));
  // While the fingers move, the bundle's pictures, not the host's, fill in with their depth.
  fingers->down(2, {150, 20});
  fingers->moveTo({150, 40});  // begins
  fingers->moveTo({150, 100});
  expectTintedOn(0.5);
  fingers->moveTo({150, 80});  // up: unchanged
  expectTintedOn(0.5);
  fingers->lift();
  expectOff();
  settle();
  EXPECT_FALSE(nextShown());
  fingers->slide(2, {150, 20}, {150, 190});
  expectTintedOn(1.0);
  settle();
  EXPECT_EQ(slide().image, Image::file("/host/on.png"));
  EXPECT_FALSE(slide().tintColor);

  // Passed: further touches change nothing (what Next reports is RunUploadTest's check).
  fingers->slide(2, {150, 190}, {150, 20});
  EXPECT_EQ(slide().image, Image::file("/host/on.png"));
}

}  // namespace
