#include <gtest/gtest.h>

#include "support/SdkFixture.h"
#include "widgets/HeaderViewHelper.h"

namespace {

using namespace quorvel;

class HeaderViewHelperTest : public quorvel::testing::SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    sdk.selectedTests = {"multiple_tests_v2", "multi_touch_v2", "device_front_video_v2"};
    sdk.customization = std::make_shared<Customization>();
    sdk.customization->progressBarSelectedColor = Color::rgb(255, 0, 0);
    sdk.customization->progressBarBackgroundColor = Color::rgb(0, 0, 255);
  }
};

TEST_F(HeaderViewHelperTest, CounterInBothLanguagesAndOutsideTheRun) {
  EXPECT_EQ(HeaderViewHelper::counterText("multi_touch_v2"), "Test 2/3");
  sdk.language = SupportedLanguage::portuguese;
  EXPECT_EQ(HeaderViewHelper::counterText("multi_touch_v2"), "Teste 2/3");
  EXPECT_EQ(HeaderViewHelper::counterText("charging_v1"), "---");
  sdk.selectedTests = {"multiple_tests_v2"};
  EXPECT_EQ(HeaderViewHelper::counterText("multiple_tests_v2"), "Teste 1/1");
  sdk.selectedTests.clear();
  EXPECT_EQ(HeaderViewHelper::counterText("multiple_tests_v2"), "---");
}

TEST_F(HeaderViewHelperTest, SegmentsUpToTheCurrentScreenAreFilled) {
  ProgressBar bar;
  bar.segments = {Color::white(), Color::white(), Color::white(), Color::white(), Color::white()};
  HeaderViewHelper::progressBar(bar, "multi_touch_v2");
  std::optional<Color> red = Color::rgb(255, 0, 0);
  EXPECT_EQ(bar.segments, (std::vector<std::optional<Color>>{red, red, std::nullopt}));
  EXPECT_EQ(bar.backgroundColor, Color::rgb(0, 0, 255));
  EXPECT_EQ(bar.segmentHeight, 3);
  HeaderViewHelper::progressBar(bar, "device_front_video_v2");
  EXPECT_EQ(bar.segments, (std::vector<std::optional<Color>>{red, red, red}));
}

TEST_F(HeaderViewHelperTest, ProgressBarOutsideTheRunOrWithoutCustomizationIsAProgrammingError) {
  ProgressBar bar;
  EXPECT_DEATH(HeaderViewHelper::progressBar(bar, "charging_v1"), "not among the run");
  sdk.customization.reset();
  EXPECT_DEATH(HeaderViewHelper::progressBar(bar, "multi_touch_v2"), "without a customization");
}

}  // namespace
