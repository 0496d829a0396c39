#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "AssetStore.h"
#include "ConsoleSessions.h"
#include "Verdict.h"

namespace quorvel {

class Console;
class RunRecorder;
class RunStore;
class RunsApi;

// The reference assets backend the SDK uploads to during development and tests.
//
//   POST /v3/applications/{appID}/asset-upload   Authorization: Bearer <key>, multipart/form-data
//        with one part "content"; stores it and answers {"filename": ..., "url": ...}
//   GET  /assets/{app folder}/{stored name}      the stored bytes with their declared media type
//   GET  /v3/applications/{appID}/runs[/{results}]  the runs and their verdicts (see RunsApi)
//   /console                                     the runs in a browser, signed in with a key
//
// Each stored results document is a run. Its results' evidence (the films and recordings their
// urls point at) is judged on threads of its own, and the verdicts kept in a run store beside the
// storage folder; a run is in it before the upload of its document is answered.
//
// The app ID is the path text between the fixed parts exactly as sent (the SDK inserts it
// unescaped, slashes included), so it is the same text the SDK sealed a results document with.
// Credentials, length, encoding and media type are judged from the headers alone, before any
// body byte is read; each connection carries one request. Connections are served asynchronously
// by a few threads, so clients that trickle or stall hold nothing but their own connection.
class AssetsServer {
 public:
  static constexpr std::uint64_t kDefaultMaxBytes = std::uint64_t{1} << 30;
  // A request head larger than this, or with more header fields, gets 431.
  static constexpr std::size_t kMaxHeadBytes = 16 * 1024;
  static constexpr std::size_t kMaxHeaderFields = 64;
  // How long stop() lets requests in progress finish before it cuts them off.
  static constexpr std::chrono::milliseconds kStopGrace{2000};

  struct Options {
    std::filesystem::path storage;
    std::vector<std::string> apiKeys;
    // The largest request body accepted.
    std::uint64_t maxBytes = kDefaultMaxBytes;
    // How long a client may take to send the request line and header fields.
    std::chrono::milliseconds headDeadline{10000};
    // How long a body (or an answer being sent) may go without a byte.
    std::chrono::milliseconds readTimeout{30000};
    // The least average rate of a body, checked from one readTimeout after it began.
    std::uint64_t minBytesPerSecond = 1024;
    // How long one body may take in all, however steadily it comes (408 past it).
    std::chrono::milliseconds bodyDeadline{std::chrono::hours(1)};
    // Connections served at once; more wait in the listen queue until a session ends.
    std::size_t maxSessions = 1024;
    // One line per request on standard error.
    bool logRequests = false;
    // The runs database; empty: "<storage>.runs.sqlite", beside the storage folder.
    std::filesystem::path runsDatabase{};
    // Threads judging evidence; 0: one fewer than the machine's hardware threads, at least one.
    std::size_t judgingThreads = 0;
    // Judges one result's evidence (a stored asset); called on the judging threads. Empty: this
    // server does not judge, and evidence gets the verdict unknown.
    std::function<Verdict(std::string_view resultKey, const nlohmann::json& result,
                          const std::filesystem::path& asset)>
        judge{};
    // The console's session lifetimes and the slowing of wrong keys at its sign-in.
    ConsoleSessions::Limits console{};
    // Told the delay of each wrong key's answer at the console's sign-in.
    std::function<void(std::chrono::milliseconds)> onWrongConsoleKey{};
  };

  explicit AssetsServer(Options options);
  ~AssetsServer();
  AssetsServer(const AssetsServer&) = delete;
  AssetsServer& operator=(const AssetsServer&) = delete;

  // Creates the storage folder, opens the runs database and adds to it the runs of stored results
  // documents it lacks, queues the judgements still pending, listens on host:port (port 0 picks a
  // free one) and serves on a background thread. Returns the bound port; throws
  // std::runtime_error when the folder, the database or the address cannot be used.
  int start(const std::string& host = "127.0.0.1", int port = 0);
  // Stops judging (a judgement still running after kStopGrace stays pending), stops accepting,
  // lets requests in progress end for at most kStopGrace, and joins the threads. Safe to repeat.
  void stop();
  // Whether a stop() left a judgement running on its own thread: a program should then end
  // without running its libraries' exit-time destructors under it.
  bool judgementsAbandoned() const { return judgementsAbandoned_; }

  int port() const { return port_; }
  // "http://host:port", the origin of every url the server hands out.
  const std::string& address() const { return address_; }
  const std::filesystem::path& storage() const { return store_.root(); }
  std::filesystem::path runsDatabase() const;

 private:
  struct Runtime;

  Options options_;
  AssetStore store_;
  std::unique_ptr<RunStore> runs_;
  std::unique_ptr<RunRecorder> recorder_;
  bool judgementsAbandoned_ = false;
  std::unique_ptr<RunsApi> runsApi_;
  std::unique_ptr<ConsoleSessions> consoleSessions_;
  std::unique_ptr<Console> console_;
  std::unique_ptr<Runtime> runtime_;
  int port_ = 0;
  std::string address_;
};

}  // namespace quorvel
