#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "quorvel/platform/HttpClient.h"

namespace quorvel {

// HttpClient on libcurl's multi interface: one worker thread runs every transfer, streams bodies
// from memory or from a file through a read callback, and is woken at once to start or cancel a
// request. TLS peers are always verified, redirects are never followed and compressed answers are
// decoded. Completions run on the worker thread.
class CurlHttpClient : public HttpClient {
 public:
  struct Options {
    // Bytes curl asks the body for at a time; larger means fewer callbacks on fast links.
    std::size_t uploadBufferSize = 1 << 20;
    // A response body beyond this (decoded) fails the request rather than growing without bound.
    std::size_t maxResponseBytes = 16 << 20;
  };

  CurlHttpClient();
  explicit CurlHttpClient(Options options);
  // Stops the worker; requests still running are dropped without a completion.
  ~CurlHttpClient() override;

  CurlHttpClient(const CurlHttpClient&) = delete;
  CurlHttpClient& operator=(const CurlHttpClient&) = delete;

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) override;

 private:
  struct Transfer;
  struct Shared;
  class Task;

  void run();
  bool start(const std::shared_ptr<Transfer>& transfer);
  void finish(const std::shared_ptr<Transfer>& transfer, std::optional<std::string> error);

  Options options_;
  std::shared_ptr<Shared> shared_;
  std::vector<std::shared_ptr<Transfer>> active_;  // worker thread only
  std::once_flag workerStarted_;
  std::thread worker_;
};

}  // namespace quorvel
