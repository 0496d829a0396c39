#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class Loudspeaker_v1_ViewController;

class Loudspeaker_v1_ViewControllerDelegate {
 public:
  virtual ~Loudspeaker_v1_ViewControllerDelegate() = default;
  virtual void Loudspeaker_v1_ViewControllerFinished(Loudspeaker_v1_ViewController& vc,
                                                     const Dictionary& result) = 0;
  virtual void Loudspeaker_v1_ViewControllerCancelled(Loudspeaker_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
