#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "AssetStore.h"

namespace httplib {
class Server;
class ContentReader;
struct Request;
struct Response;
}  // namespace httplib

namespace quorvel {

// The reference assets backend the SDK uploads to during development and tests.
//
//   POST /v3/applications/{appID}/asset-upload   Authorization: Bearer <key>, multipart/form-data
//        with one part "content"; stores it and answers {"filename": ..., "url": ...}
//   GET  /assets/{app folder}/{stored name}      the stored bytes with their declared media type
//
// The app ID is the path text between the fixed parts exactly as sent (the SDK inserts it
// unescaped, slashes included), so it is the same text the SDK sealed a results document with.
// Credentials, length, encoding and media type are judged from the headers alone, before any
// body byte is read; each connection carries one request.
class AssetsServer {
 public:
  static constexpr std::uint64_t kDefaultMaxBytes = std::uint64_t{1} << 30;

  struct Options {
    std::filesystem::path storage;
    std::vector<std::string> apiKeys;
    // The largest request body accepted.
    std::uint64_t maxBytes = kDefaultMaxBytes;
    // How long a client may stay silent in the middle of a request (and before its first byte).
    std::chrono::milliseconds readTimeout{30000};
    // One line per request on standard error.
    bool logRequests = false;
  };

  explicit AssetsServer(Options options);
  ~AssetsServer();
  AssetsServer(const AssetsServer&) = delete;
  AssetsServer& operator=(const AssetsServer&) = delete;

  // Creates the storage folder, listens on host:port (port 0 picks a free one) and serves on a
  // background thread. Returns the bound port; throws std::runtime_error when the folder or the
  // address cannot be used.
  int start(const std::string& host = "127.0.0.1", int port = 0);
  // Stops accepting, lets requests in progress end, and joins the thread. Safe to repeat.
  void stop();

  int port() const { return port_; }
  // "http://host:port", the origin of every url the server hands out.
  const std::string& address() const { return address_; }
  const std::filesystem::path& storage() const { return store_.root(); }

 private:
  // Answers requests that must not get further (and leaves the body unread); true lets the
  // request through to its handler.
  bool screen(const httplib::Request& request, httplib::Response& response) const;
  bool authorized(const httplib::Request& request) const;
  void upload(const httplib::Request& request, httplib::Response& response,
              const httplib::ContentReader& reader) const;
  void serveAsset(const httplib::Request& request, httplib::Response& response) const;

  Options options_;
  AssetStore store_;
  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
  std::atomic<bool> listenEnded_{false};
  int port_ = 0;
  std::string address_;
};

}  // namespace quorvel
