#include <gtest/gtest.h>

#include "quorvel/ScreenType.h"
#include "support/ScriptedFingers.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"

namespace {

using namespace quorvel;
using quorvel::testing::ScriptedFingers;

class MultiTouch_v1_ViewControllerTest : public quorvel::testing::TestScreenFixture {
 protected:
  std::size_t recognizers(const ViewController& screen) const {
    return screen.outlet<View>("view").gestureRecognizers.size();
  }
};

TEST_F(MultiTouch_v1_ViewControllerTest, OnlyAThreeFingerTapPassesAndOnlyOnce) {
  auto screen = show<MultiTouch_v1_ViewController>();
  ScriptedFingers fingers(screen, "view");
  for (int count : {1, 2, 4}) fingers.tap(count);
  EXPECT_TRUE(delegate->reports.empty());

  fingers.tap(3);
  EXPECT_EQ(onlyReport().result, (Dictionary{{"success", true},
                                             {"timestamp", "2024-03-01T10:15:30.123+0000"},
                                             {"version", "1"}}));
  EXPECT_EQ(recognizers(*screen), 0u);
  fingers.tap(3);
  EXPECT_EQ(delegate->reports.size(), 1u);
}

TEST_F(MultiTouch_v1_ViewControllerTest, GivingUpKeepsTheTapRecogniser) {
  auto screen = show<MultiTouch_v1_ViewController>();
  EXPECT_EQ(screen->outlet<Label>("uiLbDescription").text, "Tap anywhere with 3 fingers.");
  screen->sendAction("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result.at("success"), false);
  EXPECT_EQ(recognizers(*screen), 1u);
}

}  // namespace
