#include "run/RandomBackend.h"

#include <algorithm>
#include <string_view>

namespace quorvel::testing {

namespace {

using Answer = RandomBackend::Answer;

const char* nameOf(Answer answer) {
  static const char* names[] = {"transport error",    "invalid UTF-8",   "JSON array", "empty body",
                                "object without url", "object with url", "never"};
  return names[static_cast<int>(answer)];
}

std::vector<std::uint8_t> bytes(std::string_view text) { return {text.begin(), text.end()}; }

}  // namespace

std::shared_ptr<ScriptedHttpClient> RandomBackend::startRun(
    bool strict, std::shared_ptr<MainQueue> idleTimeouts) {
  strict_ = strict;
  plans_.clear();
  confirmed_.clear();
  client_ = std::make_shared<ScriptedHttpClient>();
  client_->idleTimeouts = std::move(idleTimeouts);
  return client_;
}

void RandomBackend::planNewRequests(bool windingDown) {
  static const std::vector<Answer> answers = {
      Answer::transportError, Answer::garbage, Answer::array, Answer::emptyBody,
      Answer::noUrl,          Answer::url,     Answer::url,   Answer::never};
  auto pick = [&] {
    return answers[std::uniform_int_distribution<std::size_t>(0, answers.size() - 1)(rng_)];
  };
  while (plans_.size() < client_->exchanges.size()) {
    Plan plan;
    if (!windingDown) {
      plan.first = pick();
      if (std::bernoulli_distribution(0.15)(rng_)) plan.second = pick();
    }
    note_("request " + std::to_string(plans_.size()) + " to " +
          client_->exchanges[plans_.size()]->request.url + " will get: " + nameOf(plan.first) +
          (plan.second ? std::string(", then ") + nameOf(*plan.second) : ""));
    plans_.push_back(plan);
  }
}

void RandomBackend::deliver(std::size_t index) {
  Plan& plan = plans_[index];
  Answer answer = plan.delivered == 0 ? plan.first : *plan.second;
  ++plan.delivered;
  note_("answer request " + std::to_string(index) + ": " + nameOf(answer));
  if (answer == Answer::never) return;
  int status = std::bernoulli_distribution(0.8)(rng_) ? 200 : 500;
  // Each address names its request and answer, so the results show which answer they took.
  std::string url = "http://127.0.0.1:1/app/" + std::to_string(index) + "-" +
                    std::to_string(plan.delivered) + "-" + std::to_string(status) + ".json";
  auto body = [&]() -> std::vector<std::uint8_t> {
    switch (answer) {
      case Answer::garbage:
        return {0x7b, 0xff, 0xfe, 0x7d};
      case Answer::array:
        return bytes("[\"stored\"]");
      case Answer::noUrl:
        return bytes(R"({"filename":"a.json"})");
      case Answer::url:
        return bytes(R"({"filename":"a.json","url":")" + url + "\"}");
      default:
        return {};
    }
  };
  auto& exchange = *client_->exchanges[index];
  bool cancelled = exchange.cancelled;
  bool delivered =
      answer == Answer::transportError
          ? ScriptedHttpClient::answer(exchange, std::nullopt, "Could not connect to server")
          : ScriptedHttpClient::answer(exchange, HttpResponse{status, body()}, std::nullopt);
  if (!delivered) note_("  dropped: the client had given up on it");
  if (delivered && !cancelled && answer == Answer::url && status / 100 == 2) confirmed_.insert(url);
}

void RandomBackend::answerOne() {
  std::vector<std::size_t> open;
  for (std::size_t i = 0; i < plans_.size(); ++i) {
    if (plans_[i].delivered < plans_[i].wanted()) open.push_back(i);
  }
  if (open.empty()) return;
  deliver(open[std::uniform_int_distribution<std::size_t>(0, open.size() - 1)(rng_)]);
}

void RandomBackend::answerAll() {
  for (std::size_t i = 0; i < plans_.size(); ++i) {
    while (plans_[i].delivered < plans_[i].wanted()) deliver(i);
  }
}

bool RandomBackend::allAnswered() const {
  return std::all_of(plans_.begin(), plans_.end(),
                     [](const Plan& plan) { return plan.delivered == plan.wanted(); });
}

bool RandomBackend::holdsRunOpen() const {
  for (std::size_t i = 0; i < plans_.size(); ++i) {
    if (stuck(i)) return true;
  }
  return false;
}

// Leniently, a request that got no answer, or only invalid UTF-8 (AssetUploaderWebService then
// never calls back); for the results document also an empty body or one that is no JSON object
// (the uploader answers with neither response nor error, and RunController::submitResults keeps
// the run open on that). Strictly, every answer is a success or an error, and the results have
// their bounded wait: only a photo or recording that no answer reached, from a client that never
// gives up, waits for good. A client that has given up answered with its error.
bool RandomBackend::stuck(std::size_t index) const {
  const Plan& plan = plans_[index];
  const auto& exchange = *client_->exchanges[index];
  if (exchange.timedOut) return false;
  if (exchange.cancelled && plan.delivered > 0) return false;
  const auto& file = exchange.request.bodyFile;
  const bool results = file && file->path.ends_with("jsonResults.json");
  if (strict_ && results) return false;
  for (int i = 0; i < plan.delivered; ++i) {
    Answer given = i == 0 ? plan.first : *plan.second;
    bool silent =
        given == Answer::never ||
        (!strict_ && (given == Answer::garbage ||
                      (results && (given == Answer::array || given == Answer::emptyBody))));
    if (!silent) return false;
  }
  return true;
}

}  // namespace quorvel::testing
