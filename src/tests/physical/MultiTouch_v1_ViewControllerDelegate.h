#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class MultiTouch_v1_ViewController;

class MultiTouch_v1_ViewControllerDelegate {
 public:
  virtual ~MultiTouch_v1_ViewControllerDelegate() = default;
  virtual void MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController& vc,
                                                    const Dictionary& result) = 0;
  virtual void MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
