#include <gtest/gtest.h>

#include "run/TestSelection.h"

namespace {

using quorvel::TestSelection;
using Keys = std::vector<std::string>;

TEST(TestSelection, FoldsPhysicalTestsIntoTheCombinedScreenAtTheFirstOnesPlace) {
  const Keys supported = {"device_front_video_v2", "charging_v2", "buttons_v2", "multi_touch_v2"};
  const Keys defaults = {"buttons_v2", "charging_v2", "multi_touch_v2", "device_front_video_v2"};
  struct Case {
    std::optional<Keys> input;
    Keys selected, combined;
  };
  const std::vector<Case> cases = {
      // An empty input means the default tests.
      {Keys{},
       {"multiple_tests_v2", "multi_touch_v2", "device_front_video_v2"},
       {"buttons_v2", "charging_v2"}},
      {Keys{"device_front_video_v2", "charging_v2", "multi_touch_v2", "buttons_v2"},
       {"device_front_video_v2", "multiple_tests_v2", "multi_touch_v2"},
       {"charging_v2", "buttons_v2"}},
      // Only the accepted keys, compared exactly, each once.
      {Keys{"multiple_tests_v2", "charging_v1", "MULTI_TOUCH_V2"}, {}, {}},
      {Keys{"multi_touch_v2", "buttons_v2", "multi_touch_v2", "buttons_v2"},
       {"multi_touch_v2", "multiple_tests_v2"},
       {"buttons_v2"}},
  };
  for (const auto& c : cases) {
    auto selection = TestSelection::make(c.input, supported, defaults);
    EXPECT_EQ(selection.selectedTests, c.selected) << ::testing::PrintToString(*c.input);
    EXPECT_EQ(selection.multipleTestsList, c.combined) << ::testing::PrintToString(*c.input);
  }
}

}  // namespace
