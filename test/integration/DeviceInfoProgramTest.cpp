#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "quorvel/Dictionary.h"
#include "quorvel/Version.h"
#include "support/PrivateBus.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

struct Outcome {
  int exitCode = -1;
  std::string out, err;
  Dictionary json() const {
    Dictionary parsed = Dictionary::parse(out, nullptr, false);
    EXPECT_FALSE(parsed.is_discarded()) << "not JSON:\n" << out;
    return parsed;
  }
};

// Runs the built program (arguments already quoted for the shell) in the C locale, without any
// simulator variable.
Outcome run(const std::string& arguments) {
  testing::TemporaryTree tree("quorvel-device-info");
  const std::string out = (tree.path() / "out").string(), err = (tree.path() / "err").string();
  const int status = std::system(("env -u SIMULATOR_MODEL_IDENTIFIER LC_ALL=C '" +
                                  std::string(QUORVEL_DEVICE_INFO_PROGRAM) + "' " + arguments +
                                  " >'" + out + "' 2>'" + err + "'")
                                     .c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, testing::fileContents(out),
          testing::fileContents(err)};
}

class DeviceInfoProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(QUORVEL_DEVICE_INFO_PROGRAM).empty()) GTEST_SKIP() << "program not built";
  }
};

TEST_F(DeviceInfoProgram, PrintsThisMachinesRecordWithTheCheckedIdentifiers) {
  Outcome outcome = run("--imei '49015 42032 37518'");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Dictionary record = outcome.json();
  ASSERT_TRUE(record.is_object());
  EXPECT_EQ(record["received_ids"], Dictionary::parse(R"({"imei_values": ["490154203237518"]})"));
  EXPECT_FALSE(record.value("sdk_version_build", "").empty());
  EXPECT_TRUE(record["battery_level"].is_number()) << record["battery_level"];
  // Disk texts in the C locale, and the rounded total agrees with the total.
  std::string total = record.value("total_disk_space", "");
  ASSERT_TRUE(total.ends_with(" GB")) << total;
  std::erase(total, ',');
  EXPECT_EQ(record["round_disk_space"],
            std::to_string(static_cast<long long>(std::ceil(std::stod(total)))) + " GB");
  // The tests' system bus address leads nowhere: no modem service, so no provider dictionary.
  EXPECT_FALSE(record.contains("carriers") || record.contains("timestamp"));
}

// The program on a private system bus: UPower's battery, and one carrier per ModemManager SIM.
TEST_F(DeviceInfoProgram, BatteryAndCarriersComeFromTheSystemBusServices) {
  using quorvel::testing::PrivateBus;
  PrivateBus bus;  // the program inherits its address
  ASSERT_TRUE(bus.running());
  ASSERT_TRUE(bus.startMock("org.freedesktop.UPower", {"--template", "upower"}));
  ASSERT_TRUE(bus.call("org.freedesktop.UPower", "/org/freedesktop/UPower",
                       "org.freedesktop.DBus.Mock", "SetupDisplayDevice", "uuddddxxbsu", 2u, 1u,
                       42.0, 0.0, 0.0, 0.0, std::int64_t{0}, std::int64_t{0}, 1, "", 1u));
  Outcome noModems = run("");
  ASSERT_EQ(noModems.exitCode, 0) << noModems.err;
  Dictionary record = noModems.json();
  EXPECT_EQ(record["battery_state"], "charging");
  ASSERT_TRUE(record["battery_level"].is_number_float()) << record["battery_level"];
  EXPECT_NEAR(record["battery_level"].get<double>(), 0.42, 1e-6);
  EXPECT_FALSE(record.contains("carriers") || record.contains("timestamp"));

  // One SIM is enough to show the program reads ModemManager; the mapping has its own tests.
  const std::string layout = R"({
    "modems": [{"path": "/org/freedesktop/ModemManager1/Modem/0",
                "sim": "/org/freedesktop/ModemManager1/SIM/0"}],
    "sims": [{"path": "/org/freedesktop/ModemManager1/SIM/0", "operatorIdentifier": "26806",
              "operatorName": "MEO"}]})";
  ASSERT_TRUE(bus.startMock(
      "org.freedesktop.ModemManager1",
      {"--template", PrivateBus::supportFile("modemmanager_mock.py"), "--parameters", layout}));
  Outcome oneSim = run("");
  ASSERT_EQ(oneSim.exitCode, 0) << oneSim.err;
  record = oneSim.json();
  EXPECT_EQ(record["carriers"], Dictionary::parse(R"([
      {"carrier_name": "MEO", "allows_voip": false, "iso_country_code": "pt",
       "mobile_country_code": "268", "mobile_network_code": "06"}])"));
  EXPECT_TRUE(record["timestamp"].is_string()) << record["timestamp"];
}

TEST_F(DeviceInfoProgram, HelpAndVersionExitWithZeroAndBadArgumentsWithTwo) {
  Outcome help = run("--help");
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_TRUE(help.out.starts_with("usage: quorvel-device-info")) << help.out;
  Outcome version = run("--version");
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out, std::string("quorvel-device-info ") + QuorvelVersionString + "\n");

  Outcome invalid = run("--serial '  '");
  EXPECT_EQ(invalid.exitCode, 2);
  EXPECT_EQ(invalid.json(),
            Dictionary::parse(R"({"status_code": 407, "message": "Invalid Serial Number"})"));
  // Flags the program refuses itself: the reason, then the usage, and nothing on standard output.
  const std::pair<std::string, std::string> refused[] = {
      {"--bogus", "unknown option '--bogus'"},
      {"--imei 490154203237518 --imei 490154203237518", "--imei given twice"},
      {"--serial", "--serial needs a value"},
  };
  for (const auto& [arguments, reason] : refused) {
    Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.exitCode, 2) << arguments;
    EXPECT_EQ(outcome.out, "") << arguments;
    EXPECT_TRUE(outcome.err.starts_with("quorvel-device-info: " + reason + "\n")) << outcome.err;
    EXPECT_NE(outcome.err.find("usage: quorvel-device-info"), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace quorvel
