#include "linux/FeedbackdFeedback.h"

#include <chrono>
#include <cstdint>

#include "support/Logging.h"

namespace quorvel {

namespace {

constexpr const char* kService = "org.sigxcpu.Feedback";
constexpr const char* kPath = "/org/sigxcpu/Feedback";
constexpr const char* kInterface = "org.sigxcpu.Feedback";
// Each feedback runs once.
constexpr int kRunOnce = -1;
// How long a vibration may wait for the bus to take it.
constexpr auto kPatience = std::chrono::milliseconds(200);

}  // namespace

FeedbackdFeedback::FeedbackdFeedback(std::string appId) : appId_(std::move(appId)) {}

sd_bus* FeedbackdFeedback::bus() {
  if (!bus_ || sd_bus_is_open(bus_->get()) <= 0)
    bus_ = SdBus::openSession(std::chrono::microseconds(kPatience).count());
  return bus_ ? bus_->get() : nullptr;
}

int FeedbackdFeedback::send(sd_bus* connection) {
  // Written out as far as the bus takes it within a moment: a bus that hangs never holds the GUI
  // thread. What is left goes out with the next vibration.
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    std::uint64_t queued = 0;
    int result = sd_bus_get_n_queued_write(connection, &queued);
    if (result < 0 || queued == 0) return result;
    result = sd_bus_process(connection, nullptr);
    if (result < 0) return result;
    if (result > 0) continue;
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left <= std::chrono::steady_clock::duration::zero()) return 0;
    sd_bus_wait(connection, std::chrono::duration_cast<std::chrono::microseconds>(left).count());
  }
}

void FeedbackdFeedback::vibrate() {
  sd_bus* connection = bus();
  if (!connection) return;
  // What the bus sent this connection (its name, errors of earlier calls) is read and dropped.
  while (sd_bus_process(connection, nullptr) > 0) {
  }
  sd_bus_message* call = nullptr;
  int result = sd_bus_message_new_method_call(connection, &call, kService, kPath, kInterface,
                                              "TriggerFeedback");
  if (result >= 0) {
    result = sd_bus_message_append(call, "ssa{sv}i", appId_.c_str(), kEvent, 1, "profile", "s",
                                   kProfile, kRunOnce);
  }
  if (result >= 0) result = sd_bus_message_set_expect_reply(call, 0);
  // The bus starts feedbackd where it is installed but not running.
  if (result >= 0) result = sd_bus_message_set_auto_start(call, 1);
  if (result >= 0) result = sd_bus_send(connection, call, nullptr);
  if (result >= 0) result = send(connection);
  sd_bus_message_unref(call);
  if (result < 0) {
    logLine("The vibration could not be asked of feedbackd");
    bus_.reset();
  }
}

}  // namespace quorvel
