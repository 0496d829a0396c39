#pragma once

namespace quorvel {

class StartViewController;

class StartViewControllerDelegate {
 public:
  virtual ~StartViewControllerDelegate() = default;
  // compat: "Controlll" with three l's, as earlier releases spelt it.
  virtual void StartViewControlllerViewPressedStart(StartViewController& vc) = 0;
  virtual void StartViewControlllerViewPressedCancel(StartViewController& vc) = 0;
};

}  // namespace quorvel
