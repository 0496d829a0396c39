#include <gtest/gtest.h>

#include "run/TestSelection.h"

namespace {

using quorvel::TestSelection;
using Keys = std::vector<std::string>;

struct SelectionCase {
  std::optional<Keys> input;
  Keys selected;
  Keys combined;
};

// Names each case by its input in test listings.
void PrintTo(const SelectionCase& c, std::ostream* out) {
  if (!c.input) {
    *out << "no input";
    return;
  }
  *out << "[";
  for (std::size_t i = 0; i < c.input->size(); ++i) *out << (i ? " " : "") << (*c.input)[i];
  *out << "]";
}

class TestSelectionTest : public ::testing::TestWithParam<SelectionCase> {};

TEST_P(TestSelectionTest, FoldsPhysicalTestsIntoTheCombinedScreen) {
  // The tests a run accepts, and those it runs when the host names none.
  const Keys supported = {"device_front_video_v2", "charging_v2", "buttons_v2", "multi_touch_v2"};
  const Keys defaults = {"buttons_v2", "charging_v2", "multi_touch_v2", "device_front_video_v2"};
  auto selection = TestSelection::make(GetParam().input, supported, defaults);
  EXPECT_EQ(selection.selectedTests, GetParam().selected);
  EXPECT_EQ(selection.multipleTestsList, GetParam().combined);
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, TestSelectionTest,
    ::testing::Values(
        // No input and an empty input both mean the default tests.
        SelectionCase{std::nullopt,
                      {"multiple_tests_v2", "multi_touch_v2", "device_front_video_v2"},
                      {"buttons_v2", "charging_v2"}},
        SelectionCase{Keys{},
                      {"multiple_tests_v2", "multi_touch_v2", "device_front_video_v2"},
                      {"buttons_v2", "charging_v2"}},
        SelectionCase{Keys{"buttons_v2", "buttons_v2"}, {"multiple_tests_v2"}, {"buttons_v2"}},
        // The combined screen takes the place of the first physical test named.
        SelectionCase{Keys{"charging_v2", "multi_touch_v2", "buttons_v2"},
                      {"multiple_tests_v2", "multi_touch_v2"},
                      {"charging_v2", "buttons_v2"}},
        SelectionCase{Keys{"device_front_video_v2", "buttons_v2", "multi_touch_v2"},
                      {"device_front_video_v2", "multiple_tests_v2", "multi_touch_v2"},
                      {"buttons_v2"}},
        // Only the accepted keys, compared exactly.
        SelectionCase{Keys{"multiple_tests_v2"}, {}, {}},
        SelectionCase{Keys{"charging_v1", "Multi_Touch_v2", "MULTI_TOUCH_V2"}, {}, {}},
        SelectionCase{Keys{"multi_touch_v2", "multi_touch_v2"}, {"multi_touch_v2"}, {}}));

}  // namespace
