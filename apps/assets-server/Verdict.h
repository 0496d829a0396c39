#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace quorvel {

// What the server concluded from one test's evidence (a film, a recording).
struct Verdict {
  static constexpr std::string_view kPass = "pass";
  static constexpr std::string_view kFail = "fail";
  // Not judged yet; the judging pool will come to it, also after a restart.
  static constexpr std::string_view kPending = "pending";
  // The evidence is not on this server, or cannot be judged.
  static constexpr std::string_view kUnknown = "unknown";

  std::string verdict;
  // For anything but a pass: why, in words a support agent understands.
  std::string why;
  // What the judge found on the way (where each code was read, separate findings), for people
  // who look at a run; an object, empty when there is nothing to add.
  nlohmann::json details = nlohmann::json::object();

  static Verdict pass(nlohmann::json details = nlohmann::json::object()) {
    return {std::string(kPass), {}, std::move(details)};
  }
  static Verdict fail(std::string why, nlohmann::json details = nlohmann::json::object()) {
    return {std::string(kFail), std::move(why), std::move(details)};
  }
  static Verdict unknown(std::string why) {
    return {std::string(kUnknown), std::move(why), nlohmann::json::object()};
  }
  static Verdict pending() {
    return {std::string(kPending), "the evidence is waiting to be judged",
            nlohmann::json::object()};
  }
};

}  // namespace quorvel
