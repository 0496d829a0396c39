#include "RunsApi.h"

#include <cstdio>
#include <exception>

#include "RequestTarget.h"

namespace quorvel {

namespace {

constexpr std::string_view kRuns = "/runs";

RunsApi::Answer refusal(unsigned status, const std::string& message) {
  return {status, nlohmann::json{{"error", message}}};
}

RunsApi::Answer failed(const std::string& error) {
  std::fprintf(stderr, "%s\n", error.c_str());
  return refusal(500, "cannot read the runs");
}

}  // namespace

std::optional<RunsApi::Route> RunsApi::routeOf(std::string_view path) {
  if (!path.starts_with(RequestTarget::kApplicationsPrefix)) return std::nullopt;
  std::string_view rest = path.substr(RequestTarget::kApplicationsPrefix.size());
  if (rest.size() > kRuns.size() && rest.ends_with(kRuns)) {
    return Route{std::string(rest.substr(0, rest.size() - kRuns.size())), {}};
  }
  const std::size_t slash = rest.rfind('/');
  if (slash == std::string_view::npos || slash + 1 == rest.size()) return std::nullopt;
  std::string_view owner = rest.substr(0, slash);
  if (owner.size() <= kRuns.size() || !owner.ends_with(kRuns)) return std::nullopt;
  return Route{std::string(owner.substr(0, owner.size() - kRuns.size())),
               std::string(rest.substr(slash + 1))};
}

nlohmann::json RunsApi::toJson(const RunStore::Run& run) {
  nlohmann::json verdicts = nlohmann::json::object();
  for (const auto& [key, verdict] : run.verdicts) {
    nlohmann::json& entry = verdicts[key];
    entry["verdict"] = verdict.verdict;
    if (verdict.verdict != Verdict::kPass) entry["why"] = verdict.why;
    if (!verdict.details.empty()) entry["details"] = verdict.details;
  }
  return {{"results", run.results},
          {"received_at", run.receivedAt},
          {"seal_valid", run.sealValid},
          {"verdicts", std::move(verdicts)}};
}

RunsApi::Answer RunsApi::answer(const Route& route, std::string_view query) const noexcept {
  try {
    if (route.results.empty()) return list(route, query);
    std::string error;
    std::optional<RunStore::Run> run = runs_.find(route.appID, route.results, error);
    if (run) return {200, toJson(*run)};
    return error.empty() ? refusal(404, "no such run") : failed(error);
  } catch (const std::exception& error) {
    return failed(error.what());
  }
}

RunsApi::Answer RunsApi::list(const Route& route, std::string_view query) const {
  auto parameters = RequestTarget::parameters(query);
  if (!parameters) return refusal(400, "the query is not well formed");
  std::size_t limit = kDefaultLimit;
  if (auto given = parameters->find("limit"); given != parameters->end()) {
    const std::string& text = given->second;
    const bool digits = !text.empty() && text.size() <= 3 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    limit = digits ? std::stoul(text) : 0;
    if (limit < 1 || limit > kMaxLimit) {
      return refusal(400, "limit must be a number from 1 to " + std::to_string(kMaxLimit));
    }
  }
  std::string before;
  std::string error;
  if (auto given = parameters->find("before"); given != parameters->end()) {
    before = given->second;
    if (!runs_.find(route.appID, before, error)) {
      return error.empty() ? refusal(400, "before names no run of this app") : failed(error);
    }
  }
  bool failedOnly = false;
  if (auto given = parameters->find("failed"); given != parameters->end()) {
    if (given->second != "0" && given->second != "1") return refusal(400, "failed must be 0 or 1");
    failedOnly = given->second == "1";
  }
  std::optional<RunStore::Page> page = runs_.list(route.appID, before, limit, failedOnly, error);
  if (!page) return failed(error);
  nlohmann::json body = {{"runs", nlohmann::json::array()}};
  for (const RunStore::Run& run : page->runs) body["runs"].push_back(toJson(run));
  if (page->next) body["next"] = *page->next;
  return {200, std::move(body)};
}

}  // namespace quorvel
