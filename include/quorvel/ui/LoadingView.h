#pragma once

#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/ui/Observable.h"
#include "quorvel/ui/Window.h"

namespace quorvel {

// A full-window busy overlay. The front end draws it over everything in its window and blocks
// input beneath it while it is shown.
class QUORVEL_EXPORT LoadingView : public Observable,
                                   public std::enable_shared_from_this<LoadingView> {
 public:
  // Shows the overlay over window (moving it if it was shown elsewhere), fully opaque.
  void show(const std::shared_ptr<Window>& window);
  // Fades to transparent over duration seconds, then leaves the window.
  void fadeOutAndRemove(double duration);
  void removeFromWindow();

  bool isShown() const { return !window_.expired(); }
  std::shared_ptr<Window> window() const { return window_.lock(); }
  double alpha() const { return alpha_; }
  // The duration of the fade in progress (0 when none), for the front end's animation.
  double fadeDuration() const { return fadeDuration_; }

 private:
  std::weak_ptr<Window> window_;
  double alpha_ = 1.0;
  double fadeDuration_ = 0;
  std::shared_ptr<WorkItem> pendingRemoval_;
};

}  // namespace quorvel
