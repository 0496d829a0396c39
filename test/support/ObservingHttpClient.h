#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "curl/CurlHttpClient.h"

namespace quorvel::testing {

// The real libcurl client, counting finished exchanges so that a test can tell "the caller chose
// not to act on the answer" from "the answer has not arrived yet".
class ObservingHttpClient : public HttpClient {
 public:
  std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) override {
    return inner_.send(std::move(request), [this, completion](std::optional<HttpResponse> response,
                                                              std::optional<std::string> error) {
      completion(std::move(response), std::move(error));
      std::lock_guard lock(mutex_);
      ++finished_;
      changed_.notify_all();
    });
  }

  // True once count exchanges have run their completions; false after ten seconds.
  bool waitForExchanges(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(10), [&] { return finished_ >= count; });
  }

 private:
  CurlHttpClient inner_;
  std::mutex mutex_;
  std::condition_variable changed_;
  int finished_ = 0;
};

}  // namespace quorvel::testing
