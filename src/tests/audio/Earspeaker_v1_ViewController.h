#pragma once

#include <memory>

#include "tests/audio/Earspeaker_v1_ViewControllerDelegate.h"
#include "tests/audio/HeardWordViewController.h"

namespace quorvel {

// The heard-word test played on the earpiece.
class Earspeaker_v1_ViewController : public HeardWordViewController {
 public:
  explicit Earspeaker_v1_ViewController(ScreenContext context);

  std::weak_ptr<Earspeaker_v1_ViewControllerDelegate> delegate;

 private:
  void reportFinished(const Dictionary& result) override;
  void reportCancelled() override;
};

}  // namespace quorvel
