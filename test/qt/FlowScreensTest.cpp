#include <QTest>

#include "QuickFixture.h"

namespace quorvel::testing {
namespace {

class FlowScreensTest : public QuickFixture {};

TEST_F(FlowScreensTest, StartScreenShowsTheRunInBothLanguages) {
  start(std::vector<std::string>{"multi_touch_v2"}, "490154203237518");
  settle("StartViewController");
  EXPECT_EQ(textOf("uiBtNext"), "Start");
  EXPECT_EQ(textOf("uiLbIMEIValue"), "490154203237518");
  EXPECT_FALSE(item("uiStackViewIMEI")->isVisible() == false);
  // No serial number given, and no test of this run needs a hint.
  EXPECT_EQ(frontEnd->findItem("uiStackViewSerialNumber"), nullptr);
  EXPECT_EQ(frontEnd->findItem("uiViewSuggestions"), nullptr);
  grab("start-en");
}

}  // namespace
}  // namespace quorvel::testing
