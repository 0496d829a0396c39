#pragma once

#include <optional>

#include "quorvel/Dictionary.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel::demo {

// The demo host's page after a run: the completion response the SDK answered with.
class ResultPageViewController : public ViewController {
 public:
  explicit ResultPageViewController(std::optional<Dictionary> response);

  void viewDidLoad() override;

 private:
  std::optional<Dictionary> response_;
};

}  // namespace quorvel::demo
