#pragma once

#include <memory>

#include "tests/audio/HeardWordViewController.h"
#include "tests/audio/Loudspeaker_v1_ViewControllerDelegate.h"

namespace quorvel {

// The heard-word test played on the loudspeaker.
class Loudspeaker_v1_ViewController : public HeardWordViewController {
 public:
  explicit Loudspeaker_v1_ViewController(ScreenContext context);

  std::weak_ptr<Loudspeaker_v1_ViewControllerDelegate> delegate;

 private:
  void reportFinished(const Dictionary& result) override;
  void reportCancelled() override;
};

}  // namespace quorvel
