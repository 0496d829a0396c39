#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// The screens of a run, chosen from the tests the host asked for. The two physical v2 tests fold
// into one combined screen that takes the place of the first of them.
struct TestSelection {
  std::vector<std::string> selectedTests;
  std::vector<std::string> multipleTestsList;

  static TestSelection make(const std::optional<std::vector<std::string>>& testsToPerform,
                            const std::vector<std::string>& allSupportedTests,
                            const std::vector<std::string>& defaultTests);
};

}  // namespace quorvel
