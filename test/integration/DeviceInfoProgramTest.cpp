#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "quorvel/Dictionary.h"

extern char** environ;

namespace quorvel {
namespace {

struct Outcome {
  int exitCode = -1;
  std::string out;
  std::string err;
};

std::string readAll(int fd) {
  std::string text;
  char buffer[4096];
  for (;;) {
    ssize_t n = read(fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      return text;
    }
  }
}

// Runs the built program with arguments; the child's environment is ours without any simulator
// variable, in the C locale, plus extra.
Outcome run(const std::vector<std::string>& arguments,
            const std::map<std::string, std::string>& extra = {}) {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry; ++entry) {
    std::string line = *entry;
    if (line.rfind("SIMULATOR_MODEL_IDENTIFIER=", 0) == 0 || line.rfind("LC_", 0) == 0 ||
        line.rfind("LANG=", 0) == 0) {
      continue;
    }
    environment.push_back(line);
  }
  environment.push_back("LC_ALL=C");
  for (const auto& [key, value] : extra) environment.push_back(key + "=" + value);

  std::string program = QUORVEL_DEVICE_INFO_PROGRAM;
  std::vector<char*> argv = {program.data()};
  std::vector<std::string> args = arguments;
  for (auto& argument : args) argv.push_back(argument.data());
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (auto& line : environment) envp.push_back(line.data());
  envp.push_back(nullptr);

  Outcome outcome;
  int outPipe[2];
  if (pipe(outPipe) != 0) return outcome;
  char errPath[] = "/tmp/quorvel-device-info-stderr-XXXXXX";
  int errFile = mkstemp(errPath);
  if (errFile < 0) return outcome;
  unlink(errPath);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errFile, STDERR_FILENO);
  posix_spawn_file_actions_addclose(&actions, outPipe[0]);
  pid_t child = 0;
  int spawned = posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  close(outPipe[1]);
  if (spawned == 0) {
    outcome.out = readAll(outPipe[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    lseek(errFile, 0, SEEK_SET);
    outcome.err = readAll(errFile);
  }
  close(outPipe[0]);
  close(errFile);
  return outcome;
}

Dictionary parsed(const Outcome& outcome) {
  Dictionary json = Dictionary::parse(outcome.out, nullptr, false);
  EXPECT_FALSE(json.is_discarded()) << "not JSON:\n" << outcome.out;
  return json;
}

class DeviceInfoProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(QUORVEL_DEVICE_INFO_PROGRAM).empty()) GTEST_SKIP() << "program not built";
  }
};

TEST_F(DeviceInfoProgram, PrintsThisMachinesRecord) {
  Outcome outcome = run({});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Dictionary record = parsed(outcome);
  ASSERT_TRUE(record.is_object());

  EXPECT_EQ(record["device_info_version"], "2");
  EXPECT_EQ(record["received_ids"], Dictionary::object());
  EXPECT_TRUE(record["sdk_version_build"].is_string());
  EXPECT_FALSE(record["sdk_version_build"].get<std::string>().empty());
  for (const char* key :
       {"device_model_identifier", "os_name", "ram_total", "thermal_state", "battery_state"}) {
    EXPECT_TRUE(record.contains(key)) << key;
  }
  EXPECT_TRUE(record["battery_level"].is_number()) << record["battery_level"];

  // Disk texts in the C locale, and the rounded total agrees with the total.
  std::string total = record.value("total_disk_space", "");
  ASSERT_GT(total.size(), 3u);
  EXPECT_EQ(total.substr(total.size() - 3), " GB") << total;
  std::string number;
  for (char c : total.substr(0, total.size() - 3)) {
    if (c != ',') number += c;
  }
  EXPECT_EQ(record["round_disk_space"],
            std::to_string(static_cast<long long>(std::ceil(std::stod(number)))) + " GB")
      << total;
  EXPECT_TRUE(record.value("ram_total", "").ends_with(" MB")) << record["ram_total"];

  // This machine has no modem service, so there is no provider dictionary.
  EXPECT_FALSE(record.contains("carriers"));
  EXPECT_FALSE(record.contains("timestamp"));
}

TEST_F(DeviceInfoProgram, SimulatorVariableNamesTheModel) {
  utsname name{};
  ASSERT_EQ(uname(&name), 0);
  std::string machine = name.machine;
  if (machine != "x86_64" && machine != "i386") GTEST_SKIP() << "not a simulator host: " << machine;

  Outcome outcome = run({}, {{"SIMULATOR_MODEL_IDENTIFIER", "iPhone13,2"}});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Dictionary record = parsed(outcome);
  EXPECT_EQ(record["device_model_commercial"], "iPhone 12");
  EXPECT_EQ(record["device_model_identifier"], "iPhone13,2");
}

TEST_F(DeviceInfoProgram, ImeiWithBlanksIsReceivedAsFifteenDigits) {
  Outcome outcome = run({"--imei", "49015 42032 37518"});
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  Dictionary record = parsed(outcome);
  EXPECT_EQ(record["received_ids"], Dictionary({{"imei_values", {"490154203237518"}}}));
}

TEST_F(DeviceInfoProgram, InvalidIdentifiersPrintTheErrorRecordAndExitWithTwo) {
  struct Case {
    std::vector<std::string> arguments;
    Dictionary expected;
  };
  const std::vector<Case> cases = {
      {{"--imei", "490154203237519"}, {{"status_code", 403}, {"message", "Invalid IMEI"}}},
      {{"--serial", "  "}, {{"status_code", 407}, {"message", "Invalid Serial Number"}}},
  };
  for (const auto& c : cases) {
    Outcome outcome = run(c.arguments);
    EXPECT_EQ(outcome.exitCode, 2) << c.arguments[0];
    EXPECT_EQ(parsed(outcome), c.expected) << outcome.out;
  }
}

TEST_F(DeviceInfoProgram, UnknownOptionPrintsUsageOnStandardError) {
  Outcome outcome = run({"--bogus"});
  EXPECT_EQ(outcome.exitCode, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_NE(outcome.err.find("usage: quorvel-device-info"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("--bogus"), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace quorvel
