#include <gtest/gtest.h>

#include <fstream>
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
TEST(FeedbackdFeedback, EachVibrationAsksFeedbackdForAHapticButtonPressOnce) {
  PrivateBus bus(PrivateBus::Kind::session);
  ASSERT_TRUE(bus.running());
  FeedbackdFeedback feedback("quorvel-tests");
  // No feedbackd yet, as on a laptop: nothing happens.
  feedback.vibrate();

  // feedbackd comes: the same adapter reaches it, once per vibration.
  testing::TemporaryTree folder{"quorvel-feedbackd"};
  const std::string log = (folder.path() / "calls.log").string();
  ASSERT_TRUE(bus.startMock(kFeedback, {"-l", log, kFeedback, kPath, kFeedback}));
  ASSERT_TRUE(bus.call(kFeedback, kPath, "org.freedesktop.DBus.Mock", "AddMethod", "sssss", "",
                       "TriggerFeedback", "ssa{sv}i", "u", "ret = 7"));
  auto calls = [&] {
    std::vector<std::string> lines;
    std::ifstream file(log);
    for (std::string line; std::getline(file, line);) {
      if (line.find("TriggerFeedback") != std::string::npos) lines.push_back(line);
    }
    return lines;
  };
  feedback.vibrate();
  feedback.vibrate();
  ASSERT_TRUE(PrivateBus::eventually([&] { return calls().size() >= 2; }));
  const auto seen = calls();
  ASSERT_EQ(seen.size(), 2u);
  for (const auto& call : seen) {
    // The application, the event, the haptic-only profile, and each feedback run once.
    EXPECT_NE(call.find(R"("quorvel-tests" "button-pressed" {"profile": "quiet"} -1)"),
              std::string::npos)
        << call;
  }
}

}  // namespace
}  // namespace quorvel
