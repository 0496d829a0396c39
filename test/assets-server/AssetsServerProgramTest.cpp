#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

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

TEST_F(AssetsServerProgram, BadFlagsPrintTheReasonAndUsageAndExitWithTwo) {
  const std::string storage = (tree.path() / "s").string();
  struct Case {
    std::string arguments, reason;
  };
  const std::vector<Case> cases = {
      {"--port 70000 --storage " + storage + " --api-key k", "'70000'"},
      {"--port 0 --storage " + storage, "--api-key is required"},
  };
  for (const auto& c : cases) {
    std::FILE* pipe = popen((program + " " + c.arguments + " 2>&1 >/dev/null").c_str(), "r");
    std::string errors = readAll(pipe);
    EXPECT_TRUE(exitedWith(pclose(pipe), 2)) << c.arguments;
    EXPECT_NE(errors.find("usage: quorvel-assets-server"), std::string::npos) << errors;
    EXPECT_NE(errors.find(c.reason), std::string::npos) << errors;
  }
  EXPECT_FALSE(std::filesystem::exists(storage));
}

// Serving what it stores is the package check's part (test/package/check).
TEST_F(AssetsServerProgram, PrintsItsAddressAndStopsCleanlyOnTerm) {
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
  EXPECT_NE(std::string(line).find("http://127.0.0.1:"), std::string::npos) << line;

  kill(server, SIGTERM);
  EXPECT_TRUE(exitedWith(pclose(pipe), 0));
}

}  // namespace
}  // namespace quorvel
