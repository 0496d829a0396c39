#pragma once

#include <string>

#include "quorvel/ui/Elements.h"

namespace quorvel {

class ViewController;

// The header of every test screen: "Test 2/3" and a bar with one segment per screen of the run.
struct HeaderViewHelper {
  // "Test <position>/<count>" in the run's language, or "---" when key is not among the run's
  // screens.
  static std::string counterText(const std::string& key);

  // Refills bar: segments up to and including key's are filled, later ones clear. key must be
  // among the run's screens and the run must have a customization (programming errors otherwise).
  static ProgressBar& progressBar(ProgressBar& bar, const std::string& key);

  // The header shows only while the navigation bar is hidden.
  static bool isHeaderVisible(const ViewController& screen);
};

}  // namespace quorvel
