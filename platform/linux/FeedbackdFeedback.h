#pragma once

#include <optional>
#include <string>

#include "linux/SdBus.h"
#include "quorvel/platform/Feedback.h"

namespace quorvel {

// The vibration through feedbackd, the feedback service that Linux phones run on the session bus
// (org.sigxcpu.Feedback): each vibrate() asks it for a button press's feedback at the quiet
// profile, which its themes give as a short rumble of the haptic motor and no sound. The call
// expects no answer and is written out for a moment at most, so the GUI thread never waits on
// the service; where there is no session bus or no feedbackd (a laptop, a desktop), nothing
// happens. Use it on one thread.
class FeedbackdFeedback : public Feedback {
 public:
  // appId names the application to feedbackd, which may keep a profile per application.
  explicit FeedbackdFeedback(std::string appId);

  void vibrate() override;

  // The event and hint sent, as the stand-in in the tests checks them.
  static constexpr const char* kEvent = "button-pressed";
  static constexpr const char* kProfile = "quiet";

 private:
  // The session bus, connected on first use and again after it was lost; null without one.
  sd_bus* bus();
  // Writes what is queued on connection, for a moment at most; negative on an error.
  static int send(sd_bus* connection);

  std::string appId_;
  std::optional<SdBus> bus_;
};

}  // namespace quorvel
