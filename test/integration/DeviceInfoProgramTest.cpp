#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "quorvel/Dictionary.h"

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
// simulator variable unless one is in variables.
Outcome run(const std::string& arguments, const std::string& variables = "") {
  char errPath[] = "/tmp/quorvel-device-info-stderr-XXXXXX";
  close(mkstemp(errPath));
  std::string command = "env -u SIMULATOR_MODEL_IDENTIFIER LC_ALL=C " + variables + " '" +
                        QUORVEL_DEVICE_INFO_PROGRAM + "' " + arguments + " 2>" + errPath;
  Outcome outcome;
  std::FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    outcome.out.append(buffer, n);
  }
  int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::stringstream err;
  err << std::ifstream(errPath).rdbuf();
  outcome.err = err.str();
  unlink(errPath);
  return outcome;
}

class DeviceInfoProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(QUORVEL_DEVICE_INFO_PROGRAM).empty()) GTEST_SKIP() << "program not built";
  }
};

TEST_F(DeviceInfoProgram, PrintsThisMachinesRecord) {
  Outcome outcome = run("");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Dictionary record = outcome.json();
  ASSERT_TRUE(record.is_object());
  EXPECT_EQ(record["device_info_version"], "2");
  EXPECT_EQ(record["received_ids"], Dictionary::object());
  EXPECT_FALSE(record.value("sdk_version_build", "").empty());
  for (const char* key : {"device_model_identifier", "os_name", "thermal_state", "battery_state"}) {
    EXPECT_TRUE(record.contains(key)) << key;
  }
  EXPECT_TRUE(record["battery_level"].is_number()) << record["battery_level"];
  EXPECT_TRUE(record.value("ram_total", "").ends_with(" MB")) << record["ram_total"];

  // Disk texts in the C locale, and the rounded total agrees with the total.
  std::string total = record.value("total_disk_space", "");
  ASSERT_TRUE(total.ends_with(" GB")) << total;
  std::string number;
  for (char c : total.substr(0, total.size() - 3)) {
    if (c != ',') number += c;
  }
  EXPECT_EQ(record["round_disk_space"],
            std::to_string(static_cast<long long>(std::ceil(std::stod(number)))) + " GB")
      << total;

  // This machine has no modem service, so there is no provider dictionary.
  EXPECT_FALSE(record.contains("carriers") || record.contains("timestamp"));
}

TEST_F(DeviceInfoProgram, SimulatorVariableNamesTheModel) {
  utsname name{};
  ASSERT_EQ(uname(&name), 0);
  std::string machine = name.machine;
  if (machine != "x86_64" && machine != "i386") GTEST_SKIP() << "not a simulator host: " << machine;
  Outcome outcome = run("", "SIMULATOR_MODEL_IDENTIFIER=iPhone13,2");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.json()["device_model_commercial"], "iPhone 12");
}

TEST_F(DeviceInfoProgram, IdentifiersAreCheckedAndInvalidOnesPrintTheErrorRecord) {
  struct Case {
    const char* arguments;
    int exitCode;
    const char* expected;  // the whole output, or its received_ids on success
  };
  const Case cases[] = {
      {"--imei '49015 42032 37518'", 0, R"({"imei_values": ["490154203237518"]})"},
      {"--imei 490154203237519", 2, R"({"status_code": 403, "message": "Invalid IMEI"})"},
      {"--serial '  '", 2, R"({"status_code": 407, "message": "Invalid Serial Number"})"},
  };
  for (const auto& c : cases) {
    Outcome outcome = run(c.arguments);
    EXPECT_EQ(outcome.exitCode, c.exitCode) << c.arguments << outcome.err;
    Dictionary json = outcome.json();
    EXPECT_EQ(c.exitCode == 0 ? json["received_ids"] : json, Dictionary::parse(c.expected))
        << outcome.out;
  }
}

TEST_F(DeviceInfoProgram, UnknownOptionPrintsUsageOnStandardError) {
  Outcome outcome = run("--bogus");
  EXPECT_EQ(outcome.exitCode, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find("usage: quorvel-device-info"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("--bogus"), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace quorvel
