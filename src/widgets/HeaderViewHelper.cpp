#include "widgets/HeaderViewHelper.h"

#include <algorithm>

#include "quorvel/Fatal.h"
#include "quorvel/Localization.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/ui/NavigationController.h"

namespace quorvel {

namespace {

// Index of the first screen equal to key, or -1.
long positionOf(const std::vector<std::string>& screens, const std::string& key) {
  auto it = std::find(screens.begin(), screens.end(), key);
  return it == screens.end() ? -1 : static_cast<long>(it - screens.begin());
}

}  // namespace

std::string HeaderViewHelper::counterText(const std::string& key) {
  const auto& run = QuorvelSDK::shared();
  long position = positionOf(run.selectedTests, key);
  if (position < 0) return "---";
  return Localization::format(
      Localization::copy("test_number_of_total"),
      {std::to_string(position + 1), std::to_string(run.selectedTests.size())});
}

ProgressBar& HeaderViewHelper::progressBar(ProgressBar& bar, const std::string& key) {
  const auto& run = QuorvelSDK::shared();
  long position = positionOf(run.selectedTests, key);
  if (position < 0)
    QUORVEL_FATAL("progress bar for " + key + ", which is not among the run's screens");
  if (!run.customization) QUORVEL_FATAL("progress bar without a customization");
  bar.segments.clear();
  bar.backgroundColor = run.customization->progressBarBackgroundColor;
  for (long i = 0; i < static_cast<long>(run.selectedTests.size()); ++i) {
    bar.segments.push_back(
        i <= position ? std::optional(run.customization->progressBarSelectedColor) : std::nullopt);
  }
  bar.segmentHeight = 3;
  return bar;
}

bool HeaderViewHelper::isHeaderVisible(const ViewController& screen) {
  auto navigation = screen.navigationController();
  return navigation && navigation->isNavigationBarHidden();
}

}  // namespace quorvel
