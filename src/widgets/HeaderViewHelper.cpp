#include "widgets/HeaderViewHelper.h"

#include "quorvel/Fatal.h"
#include "quorvel/ui/NavigationController.h"

namespace quorvel {

std::string HeaderViewHelper::counterText(const HeaderPosition& position,
                                          SupportedLanguage language) {
  if (position.index < 0) return "---";
  return Localization::format(Localization::copy("test_number_of_total", language),
                              {std::to_string(position.index + 1), std::to_string(position.count)});
}

ProgressBar& HeaderViewHelper::progressBar(ProgressBar& bar, const HeaderPosition& position,
                                           const Customization& customization) {
  if (position.index < 0) QUORVEL_FATAL("progress bar for a screen not among the run's screens");
  bar.segments.clear();
  bar.backgroundColor = customization.progressBarBackgroundColor;
  for (std::size_t i = 0; i < position.count; ++i) {
    bar.segments.push_back(static_cast<long>(i) <= position.index
                               ? std::optional(customization.progressBarSelectedColor)
                               : std::nullopt);
  }
  bar.segmentHeight = 3;
  return bar;
}

bool HeaderViewHelper::isHeaderVisible(const ViewController& screen) {
  auto navigation = screen.navigationController();
  return navigation && navigation->isNavigationBarHidden();
}

}  // namespace quorvel
