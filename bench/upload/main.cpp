// Uploads one large file to a local quorvel-assets-server with the SDK's client and with
// `curl -F`, alternately, and prints both throughputs, their ratio and the SDK's peak memory.
//
//   quorvel-bench-upload [--size-mib N] [--rounds N]

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "backend/AssetUploaderWebService.h"
#include "quorvel/platform/Platform.h"

extern char** environ;

namespace {

using namespace quorvel;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* kApiKey = "bench-key";
constexpr const char* kAppID = "bench";

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "quorvel-bench-upload: %s\n", message.c_str());
  std::exit(1);
}

// Peak resident memory of this process so far, in bytes.
long peakResidentBytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) * 1024;
  }
  return 0;
}

// Lets the peak be measured afresh (writing 5 to clear_refs resets VmHWM).
void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

pid_t spawn(const std::vector<std::string>& arguments, const std::string& output) {
  std::vector<char*> argv;
  for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = 0;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
    fail("cannot start " + arguments[0]);
  }
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

int waitFor(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string startServer(const fs::path& work, pid_t& pid) {
  fs::path log = work / "server.out";
  pid = spawn({QUORVEL_ASSETS_SERVER_PROGRAM, "--port", "0", "--storage",
               (work / "storage").string(), "--api-key", kApiKey},
              log.string());
  for (int i = 0; i < 500; ++i) {
    std::ifstream in(log);
    std::string text((std::istreambuf_iterator<char>(in)), {});
    auto at = text.find("http://127.0.0.1:");
    if (at != std::string::npos && text.find('\n', at) != std::string::npos) {
      std::string address = text.substr(at, text.find_first_of(" \n", at) - at);
      return address;
    }
    usleep(10000);
  }
  fail("the assets server did not report its address");
}

double sdkUpload(const fs::path& file) {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  std::optional<std::string> error;
  auto start = Clock::now();
  AssetUploaderWebService(Environment::production, kAppID, kApiKey)
      .uploadFile(file.string(),
                  [&](std::optional<Dictionary> response, std::optional<std::string> failure) {
                    std::lock_guard lock(mutex);
                    finished = true;
                    error = failure;
                    if (!failure && !(response && response->contains("url")))
                      error = "no url in the answer";
                    done.notify_all();
                  });
  std::unique_lock lock(mutex);
  done.wait(lock, [&] { return finished; });
  if (error) fail("SDK upload failed: " + *error);
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double curlUpload(const fs::path& file, const std::string& url, const fs::path& work) {
  auto start = Clock::now();
  pid_t pid = spawn({"curl", "-sS", "--fail", "-H", std::string("Authorization: Bearer ") + kApiKey,
                     "-F", "content=@" + file.string(), url},
                    (work / "curl.out").string());
  if (waitFor(pid) != 0) fail("curl -F failed");
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
  long sizeMiB = 256;
  int rounds = 3;
  for (int i = 1; i < argc; ++i) {
    std::string flag = argv[i];
    if (flag == "--size-mib" && i + 1 < argc) {
      sizeMiB = std::atol(argv[++i]);
    } else if (flag == "--rounds" && i + 1 < argc) {
      rounds = std::atoi(argv[++i]);
    } else {
      std::fprintf(stderr, "usage: quorvel-bench-upload [--size-mib N] [--rounds N]\n");
      return 2;
    }
  }
  if (sizeMiB <= 0 || rounds <= 0) fail("--size-mib and --rounds must be positive");

  char pattern[] = "/tmp/quorvel-bench-XXXXXX";
  if (mkdtemp(pattern) == nullptr) fail("cannot make a work folder");
  fs::path work = pattern;
  fs::path big = work / "payload.bin";
  fs::path empty = work / "empty.bin";
  {
    std::ofstream out(big, std::ios::binary);
    std::mt19937_64 random(42);
    std::vector<std::uint64_t> block(1 << 17);  // 1 MiB
    for (long i = 0; i < sizeMiB; ++i) {
      for (auto& word : block) word = random();
      out.write(reinterpret_cast<const char*>(block.data()),
                static_cast<std::streamsize>(block.size() * sizeof block[0]));
    }
    std::ofstream(empty, std::ios::binary);
  }

  pid_t server = 0;
  std::string origin = startServer(work, server);
  std::string url = origin + "/v3/applications/" + kAppID + "/asset-upload";
  Platform p;
  p.hostBundle =
      std::make_shared<StaticHostBundle>(Dictionary{{"QuorvelAssetsHostProduction", origin}});
  installPlatform(p);

  // The baseline: everything an upload needs (curl, TLS, threads) with no payload.
  resetPeak();
  sdkUpload(empty);
  long emptyPeak = peakResidentBytes();
  resetPeak();

  double bestSdk = 1e9, bestCurl = 1e9;
  for (int round = 0; round < rounds; ++round) {
    bestSdk = std::min(bestSdk, sdkUpload(big));
    bestCurl = std::min(bestCurl, curlUpload(big, url, work));
    fs::remove_all(work / "storage" / kAppID);  // keep the disk from filling up
  }
  long bigPeak = peakResidentBytes();

  kill(server, SIGTERM);
  waitFor(server);
  fs::remove_all(work);

  double megabytes = static_cast<double>(sizeMiB) * 1048576.0 / 1e6;
  std::printf("upload of %ld MiB to quorvel-assets-server on 127.0.0.1, best of %d rounds\n",
              sizeMiB, rounds);
  std::printf("  SDK client (CurlHttpClient): %8.1f MB/s\n", megabytes / bestSdk);
  std::printf("  curl -F (reference):         %8.1f MB/s\n", megabytes / bestCurl);
  std::printf("  ratio SDK / curl -F:         %8.2f   (goal >= 1.0)\n", bestCurl / bestSdk);
  std::printf(
      "  SDK peak memory: empty upload %.1f MB, large upload %.1f MB, growth %.1f MB "
      "(goal < 16 MB)\n",
      emptyPeak / 1e6, bigPeak / 1e6, (bigPeak - emptyPeak) / 1e6);
  return 0;
}
