#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "LoopbackHttp.h"
#include "quorvel/Version.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

std::string readAll(std::FILE* pipe) {
  std::string text;
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) text.append(buffer, n);
  return text;
}

bool exitedWith(int status, int code) { return WIFEXITED(status) && WEXITSTATUS(status) == code; }

class AssetsServerProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (program.empty()) GTEST_SKIP() << "program not built";
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
    std::FILE* pipe = popen((program + " " + arguments + " 2>/dev/null").c_str(), "r");
    std::string output = readAll(pipe);
    EXPECT_TRUE(exitedWith(pclose(pipe), 0)) << arguments;
    EXPECT_TRUE(output.starts_with(expected)) << arguments << ": " << output;
  }
}

TEST_F(AssetsServerProgram, BadFlagsPrintTheReasonAndUsageAndExitWithTwo) {
  const std::string storage = (tree.path() / "s").string();
  // No key: were a flag below let through, the program would still stop instead of serving.
  // Unknown flags and missing values are the shared parser's, refused in the device-info test.
  const std::string keyless = " --storage " + storage;
  const std::pair<std::string, std::string> cases[] = {
      {"--port 70000 --storage " + storage + " --api-key k", "'70000'"},
      {"--port 0 --storage " + storage, "--api-key is required"},
      {"--port 0 --port 1" + keyless, "--port given twice"},
      {"--port 0" + keyless + " --max-bytes 0", "--max-bytes needs a positive number, not '0'"},
  };
  for (const auto& [arguments, reason] : cases) {
    std::FILE* pipe = popen((program + " " + arguments + " 2>&1 >/dev/null").c_str(), "r");
    std::string errors = readAll(pipe);
    EXPECT_TRUE(exitedWith(pclose(pipe), 2)) << arguments;
    EXPECT_NE(errors.find("usage: quorvel-assets-server"), std::string::npos) << errors;
    EXPECT_NE(errors.find(reason), std::string::npos) << errors;
  }
  EXPECT_FALSE(std::filesystem::exists(storage));
}

// Serving what it stores is the package check's part (test/package/check).
TEST_F(AssetsServerProgram, PrintsItsAddressAndStopsOnTermWhateverItsClientsDo) {
  std::filesystem::path storage = tree.path() / "s";
  // The shell prints its process ID, then becomes the server.
  std::FILE* pipe = popen(("echo $$; exec " + program + " --port 0 --storage " + storage.string() +
                           " --api-key one --api-key two")
                              .c_str(),
                          "r");
  char line[256] = {};
  ASSERT_TRUE(std::fgets(line, sizeof line, pipe));
  pid_t server = std::stoi(line);
  ASSERT_TRUE(std::fgets(line, sizeof line, pipe));
  const std::string address = line;
  ASSERT_NE(address.find("http://127.0.0.1:"), std::string::npos) << address;

  // A client in the middle of its request does not hold the stop up past the server's grace.
  int client = testing::connectTo(std::stoi(address.substr(address.rfind(':') + 1)));
  ASSERT_GE(client, 0);
  // Its head is judged and it is told to go on, then it sends nothing more.
  const std::string head =
      "POST /v3/applications/a/asset-upload HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer one\r\n"
      "Content-Type: multipart/form-data; boundary=b\r\nContent-Length: 100\r\n"
      "Expect: 100-continue\r\n\r\n";
  send(client, head.data(), head.size(), MSG_NOSIGNAL);
  char proceed[64] = {};
  ASSERT_GT(recv(client, proceed, sizeof proceed - 1, 0), 0);
  EXPECT_NE(std::string(proceed).find("100 Continue"), std::string::npos) << proceed;
  kill(server, SIGTERM);
  EXPECT_TRUE(exitedWith(pclose(pipe), 0));
  close(client);
}

}  // namespace
}  // namespace quorvel
