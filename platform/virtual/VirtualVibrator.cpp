#include "quorvel/virtual/VirtualVibrator.h"

namespace quorvel {

VirtualVibrator::VirtualVibrator(std::shared_ptr<Feedback> machine)
    : machine_(std::move(machine)) {}

void VirtualVibrator::vibrate() {
  ++vibrations_;
  if (machine_) machine_->vibrate();
  if (listener_) listener_();
}

}  // namespace quorvel
