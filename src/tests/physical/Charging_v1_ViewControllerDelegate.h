#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class Charging_v1_ViewController;

class Charging_v1_ViewControllerDelegate {
 public:
  virtual ~Charging_v1_ViewControllerDelegate() = default;
  virtual void Charging_v1_ViewControllerFinished(Charging_v1_ViewController& vc,
                                                  const Dictionary& result) = 0;
  virtual void Charging_v1_ViewControllerCancelled(Charging_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
