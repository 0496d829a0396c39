#pragma once

#include <string>

#include "quorvel/Customization.h"
#include "quorvel/Localization.h"
#include "quorvel/ui/Elements.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

class ViewController;

// The header of every test screen: "Test 2/3" and a bar with one segment per screen of the run.
struct HeaderViewHelper {
  // "Test <position>/<count>" in language, or "---" when the screen is not among the run's.
  static std::string counterText(const HeaderPosition& position, SupportedLanguage language);

  // Refills bar: segments up to and including the screen's are filled in the customization's
  // selected colour, later ones clear. A screen that is not among the run's is a programming
  // error.
  static ProgressBar& progressBar(ProgressBar& bar, const HeaderPosition& position,
                                  const Customization& customization);

  // The header shows only while the navigation bar is hidden.
  static bool isHeaderVisible(const ViewController& screen);
};

}  // namespace quorvel
