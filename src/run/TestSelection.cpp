#include "run/TestSelection.h"

#include <algorithm>

#include "quorvel/ScreenType.h"
#include "tests/physical/MultipleTests_v2_ViewController.h"

namespace quorvel {

namespace {

bool holds(const std::vector<std::string>& list, const std::string& key) {
  return std::find(list.begin(), list.end(), key) != list.end();
}

void appendOnce(std::vector<std::string>& list, const std::string& key) {
  if (!holds(list, key)) list.push_back(key);
}

}  // namespace

TestSelection TestSelection::make(const std::optional<std::vector<std::string>>& testsToPerform,
                                  const std::vector<std::string>& allSupportedTests,
                                  const std::vector<std::string>& defaultTests) {
  const auto& input = testsToPerform && !testsToPerform->empty() ? *testsToPerform : defaultTests;
  TestSelection selection;
  for (const auto& key : input) {
    if (!holds(allSupportedTests, key) || holds(selection.selectedTests, key)) continue;
    if (holds(MultipleTests_v2_ViewController::supportedTests(), key)) {
      appendOnce(selection.multipleTestsList, key);
      appendOnce(selection.selectedTests, ScreenType::multiple_tests_v2);
    } else {
      selection.selectedTests.push_back(key);
    }
  }
  return selection;
}

}  // namespace quorvel
