// quorvel-assets-server: the reference assets backend, for local development, the demo and tests.

#include <pthread.h>
#include <signal.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "AssetsServer.h"
#include "CommandLine.h"
#include "EvidenceJudges.h"

namespace {

constexpr const char* kHost = "127.0.0.1";

constexpr const char* kUsage =
    "usage: quorvel-assets-server --port PORT --storage DIR --api-key KEY [--api-key KEY ...]\n"
    "                             [--max-bytes N] [--runs-database PATH] [--judging-threads N]\n"
    "\n"
    "Stores asset uploads under DIR and serves them back, on 127.0.0.1 only.\n"
    "  --port PORT    TCP port; 0 picks a free one\n"
    "  --storage DIR  where uploads are kept (created when missing)\n"
    "  --api-key KEY  a key clients send as \"Authorization: Bearer KEY\"; repeat for more\n"
    "  --max-bytes N  the largest request body accepted (default 1073741824)\n"
    "  --runs-database PATH\n"
    "                 the SQLite file of the runs and their verdicts (default: DIR.runs.sqlite,\n"
    "                 beside DIR); made when missing, rebuilt from DIR when lost\n"
    "  --judging-threads N\n"
    "                 threads judging films and recordings, at a low priority (default: one\n"
    "                 fewer than the machine's hardware threads, at least one); 0: no judging,\n"
    "                 so evidence gets the verdict unknown\n"
    "  --help         this text\n"
    "  --version      the program's version\n"
    "\n"
    "Prints \"listening on http://127.0.0.1:PORT\" once ready; SIGINT, SIGTERM or SIGHUP\n"
    "stops it.\n";

// A decimal number within [low, high], digits only.
std::optional<std::uint64_t> parseNumber(const std::string& text, std::uint64_t low,
                                         std::uint64_t high) {
  if (text.empty() || text.size() > 18) return std::nullopt;
  std::uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  if (value < low || value > high) return std::nullopt;
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  quorvel::CommandLine line("quorvel-assets-server", kUsage);
  const CLI::Option* portOption = line.option("--port");
  const CLI::Option* storageOption = line.option("--storage");
  const CLI::Option* apiKeyOption = line.option("--api-key", true);
  const CLI::Option* maxBytesOption = line.option("--max-bytes");
  const CLI::Option* runsDatabaseOption = line.option("--runs-database");
  const CLI::Option* judgingOption = line.option("--judging-threads");
  if (auto exit = line.parse(argc, argv)) return *exit;

  quorvel::AssetsServer::Options options;
  options.logRequests = true;
  std::optional<std::uint64_t> port;
  if (auto value = quorvel::CommandLine::value(portOption)) {
    port = parseNumber(*value, 0, 65535);
    if (!port)
      return line.usageError("--port needs a number from 0 to 65535, not '" + *value + "'");
  }
  if (auto value = quorvel::CommandLine::value(storageOption)) {
    options.storage = *value;
    if (options.storage.empty()) return line.usageError("--storage needs a folder");
  }
  for (const std::string& key : apiKeyOption->results()) {
    if (key.empty()) return line.usageError("--api-key needs a non-empty key");
    options.apiKeys.push_back(key);
  }
  if (auto value = quorvel::CommandLine::value(maxBytesOption)) {
    std::optional<std::uint64_t> bytes = parseNumber(*value, 1, std::uint64_t{1} << 50);
    if (!bytes) return line.usageError("--max-bytes needs a positive number, not '" + *value + "'");
    options.maxBytes = *bytes;
  }
  if (auto value = quorvel::CommandLine::value(runsDatabaseOption)) {
    options.runsDatabase = *value;
    if (options.runsDatabase.empty()) return line.usageError("--runs-database needs a file");
  }
  options.judge = quorvel::EvidenceJudges::judge;
  if (auto value = quorvel::CommandLine::value(judgingOption)) {
    std::optional<std::uint64_t> threads = parseNumber(*value, 0, 256);
    if (!threads) {
      return line.usageError("--judging-threads needs a number from 0 to 256, not '" + *value +
                             "'");
    }
    options.judgingThreads = *threads;
    if (*threads == 0) options.judge = nullptr;
  }
  if (!port) return line.usageError("--port is required");
  if (!storageOption->count()) return line.usageError("--storage is required");
  if (options.apiKeys.empty()) return line.usageError("at least one --api-key is required");

  // Blocked before any thread starts, so only sigwait below ever sees these signals.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  // A closed terminal or a service manager's hang-up stops it as orderly as the others.
  sigaddset(&stopSignals, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  quorvel::AssetsServer server(options);
  try {
    server.start(kHost, static_cast<int>(*port));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorvel-assets-server: %s\n", error.what());
    return 1;
  }
  std::printf("listening on %s\n", server.address().c_str());
  std::fflush(stdout);

  int received = 0;
  sigwait(&stopSignals, &received);
  server.stop();
  if (server.judgementsAbandoned()) {
    // A judge still decoding on its own thread must not meet the exit-time destructors of the
    // libraries it uses. Everything is stored: its verdict stays pending until the next start.
    std::fflush(nullptr);
    std::_Exit(0);
  }
  return 0;
}
