#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class DeviceFrontVideo_v1_ViewController;

class DeviceFrontVideo_v1_ViewControllerDelegate {
 public:
  virtual ~DeviceFrontVideo_v1_ViewControllerDelegate() = default;
  virtual void DeviceFrontVideo_v1_ViewControllerFinished(DeviceFrontVideo_v1_ViewController& vc,
                                                          const Dictionary& result) = 0;
  virtual void DeviceFrontVideo_v1_ViewControllerCancelled(
      DeviceFrontVideo_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
