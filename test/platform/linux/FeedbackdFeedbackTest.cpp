#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

#include "linux/FeedbackdFeedback.h"
#include "support/PrivateBus.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

using quorvel::testing::PrivateBus;

constexpr const char* kFeedback = "org.sigxcpu.Feedback";
constexpr const char* kPath = "/org/sigxcpu/Feedback";

// feedbackd as python-dbusmock stands in for it on a private session bus: TriggerFeedback answers
// an event id and every call is written to a log.
class FeedbackdStandIn {
 public:
  explicit FeedbackdStandIn(PrivateBus& bus) : bus_(bus) {}

  bool start() {
    return bus_.startMock(kFeedback, {"-l", log_.string(), kFeedback, kPath, kFeedback}) &&
           bus_.call(kFeedback, kPath, "org.freedesktop.DBus.Mock", "AddMethod", "sssss", "",
                     "TriggerFeedback", "ssa{sv}i", "u", "ret = 7");
  }
  // The log's lines about TriggerFeedback.
  std::vector<std::string> calls() const {
    std::vector<std::string> lines;
    std::ifstream file(log_);
    for (std::string line; std::getline(file, line);) {
      if (line.find("TriggerFeedback") != std::string::npos) lines.push_back(line);
    }
    return lines;
  }

 private:
  PrivateBus& bus_;
  testing::TemporaryTree folder_{"quorvel-feedbackd"};
  std::filesystem::path log_ = folder_.path() / "calls.log";
};

TEST(FeedbackdFeedback, EachVibrationAsksFeedbackdForAHapticButtonPressOnce) {
  PrivateBus bus(PrivateBus::Kind::session);
  ASSERT_TRUE(bus.running());
  FeedbackdFeedback feedback("quorvel-tests");
  // No feedbackd yet, as on a laptop: nothing happens, and nothing waits.
  const auto before = std::chrono::steady_clock::now();
  feedback.vibrate();
  EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));

  // feedbackd comes: the same adapter reaches it, once per vibration.
  FeedbackdStandIn feedbackd(bus);
  ASSERT_TRUE(feedbackd.start());
  feedback.vibrate();
  feedback.vibrate();
  ASSERT_TRUE(PrivateBus::eventually([&] { return feedbackd.calls().size() >= 2; }));
  const auto calls = feedbackd.calls();
  ASSERT_EQ(calls.size(), 2u);
  for (const auto& call : calls) {
    // The application, the event, the haptic-only profile, and each feedback run once.
    EXPECT_NE(call.find(R"("quorvel-tests" "button-pressed" {"profile": "quiet"} -1)"),
              std::string::npos)
        << call;
  }
}

}  // namespace
}  // namespace quorvel
