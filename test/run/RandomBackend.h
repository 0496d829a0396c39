#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "quorvel/platform/MainQueue.h"
#include "support/ScriptedHttpClient.h"

namespace quorvel::testing {

// The assets backend of one random run, as a scripted HTTP client: each request gets planned
// answers (late, doubled, errors, garbage, arrays, objects with or without an address, or none),
// delivered when the run's script says so.
class RandomBackend {
 public:
  // How the backend answers one request.
  enum class Answer { transportError, garbage, array, emptyBody, noUrl, url, never };

  // rng is the run's; note records a line of the run's trace.
  RandomBackend(std::mt19937_64& rng, std::function<void(std::string)> note)
      : rng_(rng), note_(std::move(note)) {}

  // A fresh client for a run with strict uploads or not; with idleTimeouts the client gives up
  // on a silent request after its time-out, without it never.
  std::shared_ptr<ScriptedHttpClient> startRun(bool strict,
                                               std::shared_ptr<MainQueue> idleTimeouts);

  // Plans the answers of requests sent since the last call; while winding down, one address.
  void planNewRequests(bool windingDown);
  // Delivers the next planned answer of one request that has one left.
  void answerOne();
  // Delivers every planned answer left.
  void answerAll();
  bool allAnswered() const;
  std::size_t requests() const { return client_ ? client_->exchanges.size() : 0; }

  // Whether a request's answers, by design, leave its screen waiting under the overlay.
  bool holdsRunOpen() const;
  // Whether url was given by an answer the run received with a 2xx status.
  bool confirmed(const std::string& url) const { return confirmed_.count(url) > 0; }

 private:
  struct Plan {
    Answer first = Answer::url;
    std::optional<Answer> second;  // the client answers twice
    int delivered = 0;
    int wanted() const { return second ? 2 : 1; }
  };

  bool stuck(std::size_t index) const;
  void deliver(std::size_t index);

  std::mt19937_64& rng_;
  std::function<void(std::string)> note_;
  std::shared_ptr<ScriptedHttpClient> client_;
  std::vector<Plan> plans_;
  std::set<std::string> confirmed_;
  bool strict_ = false;
};

}  // namespace quorvel::testing
