#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class Earspeaker_v1_ViewController;

class Earspeaker_v1_ViewControllerDelegate {
 public:
  virtual ~Earspeaker_v1_ViewControllerDelegate() = default;
  virtual void Earspeaker_v1_ViewControllerFinished(Earspeaker_v1_ViewController& vc,
                                                    const Dictionary& result) = 0;
  virtual void Earspeaker_v1_ViewControllerCancelled(Earspeaker_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
