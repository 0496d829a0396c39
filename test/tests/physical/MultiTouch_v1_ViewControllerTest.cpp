#include <gtest/gtest.h>

#include "support/ScriptedFingers.h"
#include "support/TestScreenFixture.h"
#include "tests/physical/MultiTouch_v1_ViewController.h"

namespace {

using namespace quorvel;

using MultiTouch_v1_ViewControllerTest = quorvel::testing::TestScreenFixture;

TEST_F(MultiTouch_v1_ViewControllerTest, OnlyAThreeFingerTapPassesAndOnlyOnce) {
  auto screen = show<MultiTouch_v1_ViewController>();
  quorvel::testing::ScriptedFingers fingers(screen, "view");
  for (int count : {2, 4}) fingers.tap(count);
  EXPECT_TRUE(delegate->reports.empty());
  fingers.tap(3);
  EXPECT_EQ(onlyReport().result, (Dictionary{{"success", true},
                                             {"timestamp", "2024-03-01T10:15:30.123+0000"},
                                             {"version", "1"}}));
  fingers.tap(3);
  EXPECT_EQ(delegate->reports.size(), 1u);
}

}  // namespace
