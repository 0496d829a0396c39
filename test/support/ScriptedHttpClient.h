#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "quorvel/platform/HttpClient.h"
#include "quorvel/platform/MainQueue.h"

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
    bool timedOut = false;
    int answers = 0;
  };

  std::vector<std::shared_ptr<Exchange>> exchanges;

  // Set: a request still unanswered once its time-out has passed on this queue fails as a real
  // client's idle time-out does (nothing ever progresses here), and answers after that are
  // dropped. Unset: it waits for as long as the test likes, as a client that never calls back.
  std::shared_ptr<MainQueue> idleTimeouts;

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) override {
    auto exchange = std::make_shared<Exchange>();
    exchange->request = std::move(request);
    exchange->completion = std::move(completion);
    exchanges.push_back(exchange);
    if (idleTimeouts) {
      std::chrono::duration<double> timeout = exchange->request.timeout;
      idleTimeouts->asyncAfter(timeout.count(), [weak = std::weak_ptr<Exchange>(exchange)] {
        auto timed = weak.lock();
        if (!timed || timed->answers > 0) return;
        answer(*timed, std::nullopt, "The request timed out.");
        timed->timedOut = true;
      });
    }
    return std::make_shared<Task>(exchange);
  }

  // A cancelled request answers with the error a client reports for it, whatever is given; a
  // timed-out one answers no more. False when nothing was delivered.
  static bool answer(Exchange& exchange, std::optional<HttpResponse> response,
                     std::optional<std::string> error) {
    if (exchange.timedOut) return false;
    if (exchange.cancelled) {
      response.reset();
      error = "cancelled";
    }
    ++exchange.answers;
    std::thread([&] { exchange.completion(std::move(response), std::move(error)); }).join();
    return true;
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
