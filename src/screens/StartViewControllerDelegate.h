#pragma once

namespace quorvel {

class StartViewController;

class StartViewControllerDelegate {
 public:
  virtual ~StartViewControllerDelegate() = default;
  virtual void StartViewControlllerViewPressedStart(StartViewController& vc) = 0;
  virtual void StartViewControlllerViewPressedCancel(StartViewController& vc) = 0;
};

}  // namespace quorvel
