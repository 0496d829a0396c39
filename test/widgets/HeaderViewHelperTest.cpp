#include <gtest/gtest.h>

#include "widgets/HeaderViewHelper.h"

namespace {

using namespace quorvel;

TEST(HeaderViewHelper, CounterAndSegmentsUpToTheCurrentScreen) {
  EXPECT_EQ(HeaderViewHelper::counterText({1, 3}, SupportedLanguage::portuguese), "Teste 2/3");
  EXPECT_EQ(HeaderViewHelper::counterText({-1, 3}, SupportedLanguage::english), "---");
  Customization customization;
  customization.progressBarSelectedColor = Color::rgb(255, 0, 0);
  customization.progressBarBackgroundColor = Color::rgb(0, 0, 255);
  ProgressBar bar;
  bar.segments = {Color::white(), Color::white(), Color::white(), Color::white(), Color::white()};
  HeaderViewHelper::progressBar(bar, {1, 3}, customization);
  std::optional<Color> red = Color::rgb(255, 0, 0);
  EXPECT_EQ(bar.segments, (std::vector<std::optional<Color>>{red, red, std::nullopt}));
  EXPECT_EQ(bar.backgroundColor, Color::rgb(0, 0, 255));
  EXPECT_DEATH(HeaderViewHelper::progressBar(bar, {-1, 3}, customization), "not among the run");
}

}  // namespace
