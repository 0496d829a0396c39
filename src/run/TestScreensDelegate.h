#pragma once

#include <string>
#include <vector>

#include "tests/physical/Buttons_v1_ViewControllerDelegate.h"
#include "tests/physical/Charging_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v1_ViewControllerDelegate.h"
#include "tests/physical/MultiTouch_v2_ViewControllerDelegate.h"
#include "tests/physical/MultipleTests_v2_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v1_ViewControllerDelegate.h"
#include "tests/video/DeviceFrontVideo_v2_ViewControllerDelegate.h"

namespace quorvel {

// Whoever the test screens report to: the run, or a host that shows one screen alone.
class TestScreensDelegate : public Buttons_v1_ViewControllerDelegate,
                            public Charging_v1_ViewControllerDelegate,
                            public MultiTouch_v1_ViewControllerDelegate,
                            public MultiTouch_v2_ViewControllerDelegate,
                            public MultipleTests_v2_ViewControllerDelegate,
                            public DeviceFrontVideo_v1_ViewControllerDelegate,
                            public DeviceFrontVideo_v2_ViewControllerDelegate {
 public:
  // The tests the combined screen lists.
  virtual std::vector<std::string> multipleTestsList() const = 0;
};

}  // namespace quorvel
