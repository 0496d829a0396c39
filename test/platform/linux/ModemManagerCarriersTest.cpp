#include <gtest/gtest.h>

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

TEST(ModemManagerCarriers, NoServiceOrAHungOneIsNoDictionaryAndNoModemsAnEmptyOne) {
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
}

// Modem 2 is an older ModemManager's (no slots) whose SIM tells nothing, so the network it is
// registered on describes it; modem 10 has four slots: its primary SIM, an empty slot, an inactive
// SIM and a second SIM of a country no table knows.
TEST(ModemManagerCarriers, OneCarrierPerActiveSimInModemAndSlotOrder) {
  PrivateBus bus;
  ASSERT_TRUE(bus.running());
  const std::string layout = R"({
    "modems": [
      {"path": "/org/freedesktop/ModemManager1/Modem/10", "sim": ")" +
                             sim(2) + R"(",
       "slots": [")" + sim(2) +
                             R"(", "/", ")" + sim(3) + R"(", ")" + sim(4) + R"("],
       "primarySlot": 1, "operatorCode": "26806", "operatorName": "Roaming Partner"},
      {"path": "/org/freedesktop/ModemManager1/Modem/2", "sim": ")" +
                             sim(0) + R"(",
       "operatorCode": "26806", "operatorName": "MEO"}],
    "sims": [
      {"path": ")" + sim(0) + R"("},
      {"path": ")" + sim(2) + R"(", "active": true, "operatorIdentifier": "310260",
       "operatorName": "T-Mobile"},
      {"path": ")" + sim(3) + R"(", "active": false, "operatorIdentifier": "23410",
       "operatorName": "O2"},
      {"path": ")" + sim(4) + R"(", "active": true, "operatorIdentifier": "99901"}]})";
  ASSERT_TRUE(bus.startMock(
      kModemManager,
      {"--template", PrivateBus::supportFile("modemmanager_mock.py"), "--parameters", layout}));
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
