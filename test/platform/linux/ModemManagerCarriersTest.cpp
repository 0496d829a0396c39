#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "linux/MobileCountryCodes.h"
#include "linux/ModemManagerCarriers.h"
#include "support/PrivateBus.h"

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

}  // namespace
}  // namespace quorvel
