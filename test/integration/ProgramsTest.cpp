#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "SqliteRunStore.h"
#include "assets-server/LoopbackHttp.h"
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

// Runs a built program (arguments already quoted for the shell) in the C locale, without any
// simulator variable.
Outcome run(const std::string& arguments,
            const std::string& program = QUORVEL_DEVICE_INFO_PROGRAM) {
  testing::TemporaryTree tree("quorvel-program");
  const std::string out = (tree.path() / "out").string(), err = (tree.path() / "err").string();
  const int status = std::system(("env -u SIMULATOR_MODEL_IDENTIFIER LC_ALL=C '" + program + "' " +
                                  arguments + " >'" + out + "' 2>'" + err + "'")
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
  ASSERT_TRUE(bus.startUPower(1, 42.0));  // charging
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

class AssetsServerProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (program.empty()) GTEST_SKIP() << "program not built";
  }
  // The server started through a shell (shellFirst runs before it), once it listens.
  struct Started {
    std::FILE* pipe = nullptr;
    pid_t pid = 0;
    std::string address;
    int port() const { return std::stoi(address.substr(address.rfind(':') + 1)); }
  };
  Started start(const std::string& shellFirst, const std::string& arguments) const {
    // The shell prints its process ID, then becomes the server.
    Started started;
    started.pipe = popen((shellFirst + "echo $$; exec " + program + " " + arguments).c_str(), "r");
    char line[256] = {};
    if (!std::fgets(line, sizeof line, started.pipe)) return started;
    started.pid = std::stoi(line);
    if (std::fgets(line, sizeof line, started.pipe)) started.address = line;
    return started;
  }

  const std::string program = QUORVEL_ASSETS_SERVER_PROGRAM;
  testing::TemporaryTree tree{"quorvel-assets-program"};
};

TEST_F(AssetsServerProgram, HelpAndVersionGoToStandardOutputAndExitWithZero) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"--help", "usage: quorvel-assets-server"},
      {"--port 0 --version", std::string("quorvel-assets-server ") + QuorvelVersionString + "\n"},
  };
  for (const auto& [arguments, expected] : cases) {
    Outcome outcome = run(arguments, program);
    EXPECT_EQ(outcome.exitCode, 0) << arguments;
    EXPECT_TRUE(outcome.out.starts_with(expected)) << arguments << ": " << outcome.out;
  }
}

TEST_F(AssetsServerProgram, BadFlagsPrintTheReasonAndUsageAndExitWithTwo) {
  const std::string storage = (tree.path() / "s").string();
  // No key: were a flag below let through, the program would still stop instead of serving.
  // Unknown flags and missing values are the shared parser's, refused in DeviceInfoProgram's.
  const std::string keyless = " --storage " + storage;
  const std::pair<std::string, std::string> cases[] = {
      {"--port 70000 --storage " + storage + " --api-key k", "'70000'"},
      {"--port 0 --storage " + storage, "--api-key is required"},
      {"--port 0 --port 1" + keyless, "--port given twice"},
      {"--port 0" + keyless + " --max-bytes 0", "--max-bytes needs a positive number, not '0'"},
  };
  for (const auto& [arguments, reason] : cases) {
    Outcome outcome = run(arguments, program);
    EXPECT_EQ(outcome.exitCode, 2) << arguments;
    EXPECT_NE(outcome.err.find("usage: quorvel-assets-server"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
  }
  EXPECT_FALSE(std::filesystem::exists(storage));
}

// Serving what it stores is the package check's part (test/package/check).
TEST_F(AssetsServerProgram, PrintsItsAddressAndStopsOnTermOrHangUpWhateverItsClientsDo) {
  std::filesystem::path storage = tree.path() / "s";
  for (int stopSignal : {SIGTERM, SIGHUP}) {
    const Started server =
        start("", "--port 0 --storage " + storage.string() + " --api-key one --api-key two");
    ASSERT_GT(server.pid, 0);
    ASSERT_NE(server.address.find("http://127.0.0.1:"), std::string::npos) << server.address;

    // A client in the middle of its request does not hold the stop up past the server's grace.
    int client = testing::connectTo(server.port());
    ASSERT_GE(client, 0);
    // Its head is judged and it is told to go on, then it sends nothing more.
    const std::string head =
        "POST /v3/applications/a/asset-upload HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer "
        "one\r\nContent-Type: multipart/form-data; boundary=b\r\nContent-Length: 100\r\n"
        "Expect: 100-continue\r\n\r\n";
    send(client, head.data(), head.size(), MSG_NOSIGNAL);
    char proceed[64] = {};
    ASSERT_GT(recv(client, proceed, sizeof proceed - 1, 0), 0);
    EXPECT_NE(std::string(proceed).find("100 Continue"), std::string::npos) << proceed;
    kill(server.pid, stopSignal);
    EXPECT_EQ(pclose(server.pipe), 0) << "no exit with 0 on " << strsignal(stopSignal);
    close(client);
  }
}

// Clock ticks of CPU the process has used.
long cpuTicks(pid_t process) {
  std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
  std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  long user = 0, system = 0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {  // utime and stime are fields 14 and 15
    if (i == 14) user = std::stol(field);
    if (i == 15) system = std::stol(field);
  }
  return user + system;
}

TEST_F(AssetsServerProgram, OutOfFileHandlesItWaitsForOneInsteadOfSpinning) {
  const Started started =
      start("ulimit -n 48; ",
            "--port 0 --storage " + (tree.path() / "s").string() + " --api-key two 2>/dev/null");
  ASSERT_FALSE(started.address.empty());
  const pid_t server = started.pid;
  const int port = started.port();
  // More idle connections than it has handles: the rest wait in the listen queue.
  std::vector<int> idle;
  for (int i = 0; i < 64; ++i) idle.push_back(testing::connectTo(port));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const long ticks = cpuTicks(server);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  const double share = double(cpuTicks(server) - ticks) / sysconf(_SC_CLK_TCK);
  EXPECT_LT(share, 0.3) << "of a second's CPU while out of file handles";
  for (int fd : idle) close(fd);
  // Once it has seen them close and has handles to spare again, an upload goes through.
  const std::filesystem::path handles = "/proc/" + std::to_string(server) + "/fd";
  for (int i = 0; i < 100 && std::distance(std::filesystem::directory_iterator(handles),
                                           std::filesystem::directory_iterator()) > 24;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  const std::string upload =
      testing::request("a", testing::part("a.txt", "text/plain", "abc") + testing::kClose, "two");
  EXPECT_EQ(testing::statuses(testing::roundTrip(port, upload)), std::vector<int>{200});
  kill(server, SIGTERM);
  EXPECT_EQ(pclose(started.pipe), 0);
}

// An acknowledged results document's run is on the disk before the answer: killed right after the
// last one, the database holds them all, before any rebuild from the stored documents.
TEST_F(AssetsServerProgram, EveryAcknowledgedRunOutlivesAKill) {
  const std::filesystem::path storage = tree.path() / "s";
  const std::string arguments = "--port 0 --storage " + storage.string() + " --api-key k";
  Started started = start("", arguments + " 2>/dev/null");
  ASSERT_FALSE(started.address.empty());
  std::vector<std::string> acknowledged;
  for (int i = 0; i < 4; ++i) {
    const std::string document = R"({"sha256": "0", "data": {"tests_results": {}}})";
    const std::string answer = testing::roundTrip(
        started.port(),
        testing::request(
            "a", testing::part("jsonResults.json", "application/json", document) + testing::kClose,
            "k"));
    const Dictionary stored =
        Dictionary::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false);
    acknowledged.insert(acknowledged.begin(), stored.value("filename", ""));
  }
  kill(started.pid, SIGKILL);
  pclose(started.pipe);

  std::string error;
  auto runs = SqliteRunStore::open(tree.path() / "s.runs.sqlite", error);
  ASSERT_TRUE(runs) << error;
  auto page = runs->list("a", "", 50, false, error);
  ASSERT_TRUE(page) << error;
  std::vector<std::string> kept;
  for (const auto& run : page->runs) kept.push_back(run.results);
  EXPECT_EQ(kept, acknowledged);
  runs.reset();

  started = start("", arguments + " 2>/dev/null");
  ASSERT_FALSE(started.address.empty());
  auto listed = httplib::Client("127.0.0.1", started.port())
                    .Get("/v3/applications/a/runs", {{"Authorization", "Bearer k"}});
  ASSERT_TRUE(listed);
  EXPECT_EQ(listed->status, 200) << listed->body;
  std::vector<std::string> served;
  const Dictionary body = Dictionary::parse(listed->body);
  for (const auto& run : body["runs"]) served.push_back(run["results"]);
  EXPECT_EQ(served, acknowledged);
  kill(started.pid, SIGTERM);
  EXPECT_EQ(pclose(started.pipe), 0);
}

TEST_F(AssetsServerProgram, ARunsDatabaseItCannotUseStopsItWithTheReason) {
  tree.write("garbage.sqlite", std::string(8192, 'x'));
  const std::pair<std::filesystem::path, std::string> cases[] = {
      {tree.path() / "garbage.sqlite", "file is not a database"},
      {tree.path() / "missing" / "runs.sqlite", "unable to open"},
  };
  for (const auto& [database, reason] : cases) {
    Outcome outcome = run("--port 0 --storage " + (tree.path() / "s").string() +
                              " --api-key k --runs-database " + database.string(),
                          program);
    EXPECT_EQ(outcome.exitCode, 1) << database;
    EXPECT_NE(outcome.err.find(database.string()), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace quorvel
