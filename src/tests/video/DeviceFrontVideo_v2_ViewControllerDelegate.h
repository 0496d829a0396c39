#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class DeviceFrontVideo_v2_ViewController;

class DeviceFrontVideo_v2_ViewControllerDelegate {
 public:
  virtual ~DeviceFrontVideo_v2_ViewControllerDelegate() = default;
  virtual void DeviceFrontVideo_v2_ViewControllerFinished(DeviceFrontVideo_v2_ViewController& vc,
                                                          const Dictionary& result) = 0;
  virtual void DeviceFrontVideo_v2_ViewControllerCancelled(
      DeviceFrontVideo_v2_ViewController& vc) = 0;
};

}  // namespace quorvel
