#include <gtest/gtest.h>

#include "quorvel/ScreenType.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/Buttons_v1_ViewController.h"
#include "tests/physical/Charging_v1_ViewController.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"
#include "tests/physical/MultiTouch_v2_ViewController.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"

namespace {

using namespace quorvel;

class TestViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  struct ScreenCase {
    std::string key;
    std::string headerView;
    std::function<std::shared_ptr<ViewController>()> show;
  };

  std::vector<ScreenCase> screens() {
    return {
        {ScreenType::buttons_v1, "uiViewProgressBarBackground",
         [this] { return show<Buttons_v1_ViewController>(); }},
        {ScreenType::charging_v1, "uiViewProgressBarBackground",
         [this] { return show<Charging_v1_ViewController>(); }},
        {ScreenType::multi_touch_v1, "uiHeaderView",
         [this] { return show<MultiTouch_v1_ViewController>(); }},
        {ScreenType::multi_touch_v2, "uiHeaderView",
         [this] { return show<MultiTouch_v2_ViewController>(); }},
        {ScreenType::multiple_tests_v2, "uiHeaderView",
         [this] {
           return show<MultipleTests_v2_ViewController>(
               [](auto& screen) { screen.selectedTests = {ScreenType::charging_v2}; });
         }},
    };
  }

  // Runs check on a fresh fixture for every test screen.
  void forEachScreen(const std::function<void(const ScreenCase&)>& check) {
    for (const auto& each : screens()) {
      SCOPED_TRACE(each.key);
      TearDown();
      SetUp();
      check(each);
    }
  }
};

TEST_F(TestViewControllerTest, HeaderButtonsAndPortraitOnEveryAppearance) {
  forEachScreen([this](const ScreenCase& c) {
    context.themeColor = Color::rgb(0, 128, 0);
    auto custom = std::make_shared<Customization>();
    custom->skipTestButtonColor = Color::rgb(200, 0, 0);
    context.customization = custom;
    auto screen = c.show();
    EXPECT_EQ(screen->outlet<Button>("uiBtCancel").titleColor, Color::rgb(0, 128, 0));
    EXPECT_EQ(screen->outlet<Button>("uiBtCouldntCompleteTest").titleColor, Color::rgb(200, 0, 0));
    EXPECT_EQ(screen->outlet<Label>("uiLbTestCounter").text, "Test 1/1");
    EXPECT_EQ(screen->outlet<ProgressBar>("uiStackViewProgressBar").segments,
              (std::vector<std::optional<Color>>{custom->progressBarSelectedColor}));
    // The header shows only while the navigation bar is hidden, and portrait is asked for on
    // every appearance.
    EXPECT_TRUE(screen->outlet<View>(c.headerView).hidden);
    hostNavigation->setNavigationBarHidden(true, false);
    cover();
    hostNavigation->popViewController(false);
    EXPECT_FALSE(screen->outlet<View>(c.headerView).hidden);
    EXPECT_EQ(env.device->orientationRequests,
              std::vector<DeviceOrientation>(2, DeviceOrientation::portrait));

    screen->sendAction("uiBtCancel_TouchUpInside");
    EXPECT_TRUE(onlyReport().cancelled);
  });
}

TEST_F(TestViewControllerTest, WithoutADelegateTheButtonsReportNothing) {
  forEachScreen([this](const ScreenCase& c) {
    auto screen = c.show();
    // The screen holds its delegate weakly: with the recorder gone, no report may reach it.
    delegate.reset();
    for (const auto& action : screen->actionNames()) screen->sendAction(action);
    settle();
    EXPECT_EQ(hostNavigation->topViewController(), screen);
  });
}

}  // namespace
