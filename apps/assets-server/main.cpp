// quorvel-assets-server: the reference assets backend, for local development, the demo and tests.

#include <pthread.h>
#include <signal.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

#include "AssetsServer.h"

namespace {

constexpr int kUsageError = 2;
constexpr const char* kHost = "127.0.0.1";

void printUsage(std::FILE* out) {
  std::fputs(
      "usage: quorvel-assets-server --port PORT --storage DIR --api-key KEY [--api-key KEY ...]\n"
      "                             [--max-bytes N]\n"
      "\n"
      "Stores asset uploads under DIR and serves them back, on 127.0.0.1 only.\n"
      "  --port PORT    TCP port; 0 picks a free one\n"
      "  --storage DIR  where uploads are kept (created when missing)\n"
      "  --api-key KEY  a key clients send as \"Authorization: Bearer KEY\"; repeat for more\n"
      "  --max-bytes N  the largest request body accepted (default 1073741824)\n"
      "  --help         this text\n"
      "\n"
      "Prints \"listening on http://127.0.0.1:PORT\" once ready; SIGINT or SIGTERM stops it.\n",
      out);
}

int usageError(const std::string& message) {
  std::fprintf(stderr, "quorvel-assets-server: %s\n\n", message.c_str());
  printUsage(stderr);
  return kUsageError;
}

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
  quorvel::AssetsServer::Options options;
  options.logRequests = true;
  std::optional<std::uint64_t> port;
  bool haveStorage = false;
  bool haveMaxBytes = false;

  for (int i = 1; i < argc; ++i) {
    std::string flag = argv[i];
    if (flag == "--help" || flag == "-h") {
      printUsage(stdout);
      return 0;
    }
    if (flag != "--port" && flag != "--storage" && flag != "--api-key" && flag != "--max-bytes") {
      return usageError("unknown option '" + flag + "'");
    }
    if (i + 1 >= argc) return usageError(flag + " needs a value");
    std::string value = argv[++i];
    if (flag == "--port") {
      if (port) return usageError("--port given twice");
      port = parseNumber(value, 0, 65535);
      if (!port) return usageError("--port needs a number from 0 to 65535, not '" + value + "'");
    } else if (flag == "--storage") {
      if (haveStorage) return usageError("--storage given twice");
      if (value.empty()) return usageError("--storage needs a folder");
      options.storage = value;
      haveStorage = true;
    } else if (flag == "--api-key") {
      if (value.empty()) return usageError("--api-key needs a non-empty key");
      options.apiKeys.push_back(value);
    } else {
      if (haveMaxBytes) return usageError("--max-bytes given twice");
      std::optional<std::uint64_t> bytes = parseNumber(value, 1, std::uint64_t{1} << 50);
      if (!bytes) return usageError("--max-bytes needs a positive number, not '" + value + "'");
      options.maxBytes = *bytes;
      haveMaxBytes = true;
    }
  }
  if (!port) return usageError("--port is required");
  if (!haveStorage) return usageError("--storage is required");
  if (options.apiKeys.empty()) return usageError("at least one --api-key is required");

  // Blocked before any thread starts, so only sigwait below ever sees these signals.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
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
  return 0;
}
