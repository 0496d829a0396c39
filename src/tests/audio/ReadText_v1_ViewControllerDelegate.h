#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class ReadText_v1_ViewController;

class ReadText_v1_ViewControllerDelegate {
 public:
  virtual ~ReadText_v1_ViewControllerDelegate() = default;
  virtual void ReadText_v1_ViewControllerFinished(ReadText_v1_ViewController& vc,
                                                  const Dictionary& result) = 0;
  virtual void ReadText_v1_ViewControllerCancelled(ReadText_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
