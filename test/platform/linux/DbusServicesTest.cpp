#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "linux/FeedbackdFeedback.h"
#include "linux/MobileCountryCodes.h"
#include "linux/ModemManagerCarriers.h"
#include "support/PrivateBus.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

using quorvel::testing::PrivateBus;

constexpr const char* kModemManager = "org.freedesktop.ModemManager1";

std::string sim(int index) { return "/org/freedesktop/ModemManager1/SIM/" + std::to_string(index); }

// "key: name, iso, mcc/mnc[, voip]", one line per carrier, so a mismatch reads plainly.
std::vector<std::string> described(const std::vector<std::pair<std::string, Carrier>>& carriers) {
  std::vector<std::string> lines;
  for (const auto& [key, c] : carriers) {
    lines.push_back(key + ": " + c.carrierName + ", " + c.isoCountryCode + ", " +
                    c.mobileCountryCode + "/" + c.mobileNetworkCode +
                    (c.allowsVOIP ? ", voip" : ""));
  }
  return lines;
}

// Modem 2 is an older ModemManager's (no slots) whose SIM tells nothing, so the network it is
// registered on describes it; modem 10 has four slots: its primary SIM, an empty slot, an inactive
// SIM and a second SIM of a country no table knows.
TEST(ModemManagerCarriers, OneCarrierPerActiveSimInModemAndSlotOrderAndNoneFromAnAbsentOrHungOne) {
  PrivateBus bus;
  ASSERT_TRUE(bus.running());
  EXPECT_FALSE(ModemManagerCarriers::read().has_value());
  const std::string mock = PrivateBus::supportFile("modemmanager_mock.py");
  ASSERT_TRUE(bus.startMock(kModemManager, {"--template", mock}));
  auto none = ModemManagerCarriers::read();
  ASSERT_TRUE(none.has_value());
  EXPECT_TRUE(none->empty());
  // Answering after the call's time is up is not answering: the record cannot wait for it.
  ASSERT_TRUE(bus.stopMock(kModemManager));
  ASSERT_TRUE(bus.startMock(kModemManager, {"--template", mock, "--parameters", R"({"hang": 5})"}));
  EXPECT_FALSE(ModemManagerCarriers::read().has_value());

  std::string layout = R"({"modems": [
      {"path": "@Modem/10", "sim": "@SIM/2", "slots": ["@SIM/2", "/", "@SIM/3", "@SIM/4"],
       "primarySlot": 1, "operatorCode": "26806", "operatorName": "Roaming Partner"},
      {"path": "@Modem/2", "sim": "@SIM/0", "operatorCode": "26806", "operatorName": "MEO"}],
    "sims": [
      {"path": "@SIM/0"},
      {"path": "@SIM/2", "active": true, "operatorIdentifier": "310260", "operatorName": "T-Mobile"},
      {"path": "@SIM/3", "active": false, "operatorIdentifier": "23410", "operatorName": "O2"},
      {"path": "@SIM/4", "active": true, "operatorIdentifier": "99901"}]})";
  layout = std::regex_replace(layout, std::regex("@"), "/org/freedesktop/ModemManager1/");
  ASSERT_TRUE(bus.stopMock(kModemManager));
  ASSERT_TRUE(bus.startMock(kModemManager, {"--template", mock, "--parameters", layout}));
  auto carriers = ModemManagerCarriers::read();
  ASSERT_TRUE(carriers.has_value());
  EXPECT_EQ(described(*carriers), (std::vector<std::string>{
                                      sim(0) + ": MEO, pt, 268/06",
                                      sim(2) + ": T-Mobile, us, 310/260",
                                      // Not the primary SIM: the registered network is not its own.
                                      sim(4) + ": , , 999/01",
                                  }));
}

TEST(MobileCountryCodes, CountriesOfSharedAndSingleCodesAndNothingForTheRest) {
  const std::pair<const char*, const char*> codes[] = {
      {"202", "gr"}, {"234", "gb"}, {"235", "gb"}, {"268", "pt"}, {"310", "us"}, {"316", "us"},
      {"404", "in"}, {"406", "in"}, {"460", "cn"}, {"505", "au"}, {"655", "za"}, {"724", "br"},
      {"750", "fk"}, {"001", ""},   {"999", ""},   {"26", ""},    {"2680", ""},  {"-68", ""}};
  for (const auto& [mcc, iso] : codes) EXPECT_EQ(MobileCountryCodes::isoCountry(mcc), iso) << mcc;
}

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
