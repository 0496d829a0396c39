#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/Application.h"
#include "quorvel/ui/NavigationController.h"

namespace quorvel {

class AlertController;

// The host's navigation, taken over for a run and given back as it was found: on a navigation
// stack the run pushes above the host's screens; on a plain root screen (or a window that is not
// key) the run wraps the root in a stack of its own. The log lines name the other platform's
// classes; hosts' support tools search for them (kept for compatibility).
class HostNavigation {
 public:
  // Takes over the key window's navigation, or the first window's when none is key. Without any
  // window, a programming error of the host.
  void takeOver(Application& application);
  // Pops back to the host's last screen with its bar as found, and closes a retry alert left up.
  void giveBack();

  void push(std::shared_ptr<ViewController> screen);
  void present(std::shared_ptr<AlertController> alert);
  bool isTakenOver() const { return navigation_ != nullptr; }
  // The first screen of the stack, for log lines ("nil" when none).
  std::string describeRoot() const;

 private:
  std::shared_ptr<NavigationController> navigation_;
  // The host's screens when the run took over, to pop back to the last one.
  std::vector<std::shared_ptr<ViewController>> hostScreens_;
  bool hostBarHidden_ = false;
};

}  // namespace quorvel
