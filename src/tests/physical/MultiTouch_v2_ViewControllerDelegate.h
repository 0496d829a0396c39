#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class MultiTouch_v2_ViewController;

class MultiTouch_v2_ViewControllerDelegate {
 public:
  virtual ~MultiTouch_v2_ViewControllerDelegate() = default;
  virtual void MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController& vc,
                                                    const Dictionary& result) = 0;
  virtual void MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController& vc) = 0;
};

}  // namespace quorvel
