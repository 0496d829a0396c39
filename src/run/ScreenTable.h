#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/ViewController.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

class TestScreensDelegate;

// Test screens by key, from the one list of test screens.
class ScreenTable {
 public:
  // The keys a run can show, in the order they are compared.
  static const std::vector<std::string>& keys();
  // The keys of the screens a host may ask a run for.
  static std::vector<std::string> runKeys();

  // A new screen for key, made with what it reads of the run and reporting to delegate (the run
  // controller, or a host showing the screen alone); null when key names no screen of this build.
  static std::shared_ptr<ViewController> makeScreen(
      const std::string& key, ScreenContext context,
      const std::shared_ptr<TestScreensDelegate>& delegate);
};

}  // namespace quorvel
