#pragma once

#include <functional>
#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/Feedback.h"

namespace quorvel {

// The vibration motor of a machine without one, for unattended runs and their tests: it counts
// every vibration and tells its listener, and passes each on to the machine's own feedback where
// there is one, so that a phone running the autopilot still buzzes.
class QUORVEL_EXPORT VirtualVibrator : public Feedback {
 public:
  explicit VirtualVibrator(std::shared_ptr<Feedback> machine = nullptr);

  void vibrate() override;

  int vibrations() const { return vibrations_; }
  // Runs after each vibration.
  void setListener(std::function<void()> listener) { listener_ = std::move(listener); }

 private:
  std::shared_ptr<Feedback> machine_;
  std::function<void()> listener_;
  int vibrations_ = 0;
};

}  // namespace quorvel
