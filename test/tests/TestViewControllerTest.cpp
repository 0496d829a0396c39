#include <gtest/gtest.h>

#include <set>

#include "quorvel/ScreenType.h"
#include "support/TestScreenFixture.h"

namespace {

using namespace quorvel;

class TestViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  // Runs check on a fresh fixture for every test screen, keyed by its key; the combined screen
  // with its charging row.
  void forEachScreen(const std::function<void(const std::string&)>& check) {
    for (const std::string& key : ScreenTable::keys()) {
      SCOPED_TRACE(key);
      restart();
      context.multipleTestsList = {ScreenType::charging_v2};
      check(key);
    }
  }

  // The outlet that holds the header: its own view, else the progress bar's background.
  static std::string headerView(const std::string& key) {
    static const std::set<std::string> ownView = {
        ScreenType::multi_touch_v1, ScreenType::multi_touch_v2, ScreenType::multiple_tests_v2,
        ScreenType::device_front_video_v1, ScreenType::device_front_video_v2};
    return ownView.count(key) ? "uiHeaderView" : "uiViewProgressBarBackground";
  }
};

TEST_F(TestViewControllerTest, HeaderButtonsPortraitOnEveryAppearanceAndCancel) {
  forEachScreen([this](const std::string& key) {
    context.themeColor = Color::rgb(0, 128, 0);
    auto custom = std::make_shared<Customization>();
    custom->skipTestButtonColor = Color::rgb(200, 0, 0);
    context.customization = custom;
    auto screen = showKey(key);
    EXPECT_EQ(screen->outlet<Button>("uiBtCancel").titleColor, Color::rgb(0, 128, 0));
    EXPECT_EQ(screen->outlet<Button>("uiBtCouldntCompleteTest").titleColor, Color::rgb(200, 0, 0));
    EXPECT_EQ(screen->outlet<Label>("uiLbTestCounter").text, "Test 1/1");
    EXPECT_EQ(screen->outlet<ProgressBar>("uiStackViewProgressBar").segments,
              (std::vector<std::optional<Color>>{custom->progressBarSelectedColor}));
    // The header shows only while the navigation bar is hidden, and portrait is asked for on
    // every appearance.
    EXPECT_TRUE(screen->outlet<View>(headerView(key)).hidden);
    hostNavigation->setNavigationBarHidden(true, false);
    cover();
    hostNavigation->popViewController(false);
    EXPECT_FALSE(screen->outlet<View>(headerView(key)).hidden);
    EXPECT_EQ(env.device->orientationRequests,
              std::vector<DeviceOrientation>(2, DeviceOrientation::portrait));

    screen->sendAction("uiBtCancel_TouchUpInside");
    EXPECT_TRUE(onlyReport().cancelled);
  });
}

TEST_F(TestViewControllerTest, WithoutADelegateTheButtonsReportNothing) {
  forEachScreen([this](const std::string& key) {
    auto screen = showKey(key);
    // The screen holds its delegate weakly: the recorder goes, and no report may reach it.
    std::weak_ptr<TestScreensDelegate> recorder = delegate;
    delegate.reset();
    EXPECT_TRUE(recorder.expired());
    for (const auto& action : screen->actionNames()) screen->sendAction(action);
    settle();
    EXPECT_EQ(hostNavigation->topViewController(), screen);
  });
}

}  // namespace
