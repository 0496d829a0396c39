#pragma once

#include <memory>

#include "quorvel/ui/ViewController.h"
#include "screens/TestsFinishedViewControllerDelegate.h"

namespace quorvel {

// The last screen of a run: finish (submits the results) or test again.
class TestsFinishedViewController : public ViewController {
 public:
  TestsFinishedViewController();

  std::weak_ptr<TestsFinishedViewControllerDelegate> delegate;

  void viewDidLoad() override;
};

}  // namespace quorvel
