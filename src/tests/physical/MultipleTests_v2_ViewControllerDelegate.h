#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class MultipleTests_v2_ViewController;

class MultipleTests_v2_ViewControllerDelegate {
 public:
  virtual ~MultipleTests_v2_ViewControllerDelegate() = default;
  virtual void MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController& vc,
                                                       const Dictionary& result) = 0;
  virtual void MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController& vc) = 0;
};

}  // namespace quorvel
