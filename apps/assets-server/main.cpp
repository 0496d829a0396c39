// quorvel-assets-server: the reference assets backend, for local development, the demo and tests.

#include <pthread.h>
#include <signal.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "AssetsServer.h"
#include "quorvel/Version.h"

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
      "  --version      the program's version\n"
      "\n"
      "Prints \"listening on http://127.0.0.1:PORT\" once ready; SIGINT or SIGTERM stops it.\n",
      out);
}

int usageError(const std::string& message) {
  std::fprintf(stderr, "quorvel-assets-server: %s\n\n", message.c_str());
  printUsage(stderr);
  return kUsageError;
}

// CLI11 reports a value missing at the end of the line as "NAME: 1 required  missing".
std::string describe(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) && argc > 1) {
    const CLI::Option* last = app.get_option_no_throw(argv[argc - 1]);
    if (last && last->get_expected_min() > 0) return last->get_name() + " needs a value";
  }
  return error.what();
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
  // CLI11 splits the line and keeps every occurrence as given; the usage text and the messages
  // stay the program's own, so repeats and values are judged here.
  CLI::App app{"", "quorvel-assets-server"};
  app.set_help_flag("-h,--help");
  app.set_version_flag("--version",
                       std::string("quorvel-assets-server ") + quorvel::QuorvelVersionString);
  app.allow_extras();
  auto addOption = [&app](const std::string& name) {
    // One value per occurrence, taken as it is even when it begins with '-'.
    return app.add_option(name)->allow_extra_args(false)->multi_option_policy(
        CLI::MultiOptionPolicy::TakeAll);
  };
  const CLI::Option* portOption = addOption("--port");
  const CLI::Option* storageOption = addOption("--storage");
  const CLI::Option* apiKeyOption = addOption("--api-key");
  const CLI::Option* maxBytesOption = addOption("--max-bytes");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    printUsage(stdout);
    return 0;
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    return 0;
  } catch (const CLI::ParseError& error) {
    return usageError(describe(app, error, argc, argv));
  }
  if (!app.remaining().empty()) {
    const std::string extra = app.remaining().front();
    return usageError((extra.starts_with('-') ? "unknown option '" : "unexpected argument '") +
                      extra + "'");
  }
  for (const CLI::Option* single : {portOption, storageOption, maxBytesOption}) {
    if (single->count() > 1) return usageError(single->get_name() + " given twice");
  }

  quorvel::AssetsServer::Options options;
  options.logRequests = true;
  std::optional<std::uint64_t> port;
  if (portOption->count()) {
    const std::string& value = portOption->results().front();
    port = parseNumber(value, 0, 65535);
    if (!port) return usageError("--port needs a number from 0 to 65535, not '" + value + "'");
  }
  if (storageOption->count()) {
    options.storage = storageOption->results().front();
    if (options.storage.empty()) return usageError("--storage needs a folder");
  }
  for (const std::string& key : apiKeyOption->results()) {
    if (key.empty()) return usageError("--api-key needs a non-empty key");
    options.apiKeys.push_back(key);
  }
  if (maxBytesOption->count()) {
    const std::string& value = maxBytesOption->results().front();
    std::optional<std::uint64_t> bytes = parseNumber(value, 1, std::uint64_t{1} << 50);
    if (!bytes) return usageError("--max-bytes needs a positive number, not '" + value + "'");
    options.maxBytes = *bytes;
  }
  if (!port) return usageError("--port is required");
  if (!storageOption->count()) return usageError("--storage is required");
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
