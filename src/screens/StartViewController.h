#pragma once

#include <memory>

#include "quorvel/ui/ViewController.h"
#include "screens/StartViewControllerDelegate.h"

namespace quorvel {

// The first screen of a run: the device's model, the identifiers the host gave, hints for the
// run's tests, start and back.
class StartViewController : public ViewController {
 public:
  StartViewController();

  std::weak_ptr<StartViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void configureSuggestions();
};

}  // namespace quorvel
