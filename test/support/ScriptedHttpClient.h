#pragma once

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "quorvel/platform/HttpClient.h"

namespace quorvel::testing {

// An HTTP client that sends nothing: every request waits until the test answers it, as many
// times as the test likes. Requests and answers happen on the main queue's thread; each answer
// runs on a thread of its own, as a real client's completion does, and is over when answer()
// returns, so a run replays exactly.
class ScriptedHttpClient : public HttpClient {
 public:
  struct Exchange {
    HttpRequest request;
    HttpCompletion completion;
    bool cancelled = false;
    int answers = 0;
  };

  std::vector<std::shared_ptr<Exchange>> exchanges;

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) override {
    auto exchange = std::make_shared<Exchange>();
    exchange->request = std::move(request);
    exchange->completion = std::move(completion);
    exchanges.push_back(exchange);
    return std::make_shared<Task>(exchange);
  }

  // A cancelled request answers with the error a client reports for it, whatever is given.
  static void answer(Exchange& exchange, std::optional<HttpResponse> response,
                     std::optional<std::string> error) {
    if (exchange.cancelled) {
      response.reset();
      error = "cancelled";
    }
    ++exchange.answers;
    std::thread([&] { exchange.completion(std::move(response), std::move(error)); }).join();
  }

 private:
  class Task : public HttpTask {
   public:
    explicit Task(std::weak_ptr<Exchange> exchange) : exchange_(std::move(exchange)) {}
    void cancel() override {
      if (auto exchange = exchange_.lock()) exchange->cancelled = true;
    }

   private:
    std::weak_ptr<Exchange> exchange_;
  };
};

}  // namespace quorvel::testing
