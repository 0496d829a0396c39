#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class Buttons_v1_ViewController;

class Buttons_v1_ViewControllerDelegate {
 public:
  virtual ~Buttons_v1_ViewControllerDelegate() = default;
  // The screenshot phase has ended; results holds all three phases. compat: the label is
  // "results", unlike every other test screen's "result".
  virtual void Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController& vc,
                                                 const Dictionary& results) = 0;
  virtual void Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
