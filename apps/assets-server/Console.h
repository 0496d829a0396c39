#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AssetStore.h"
#include "ConsoleSessions.h"
#include "RunStore.h"
#include "RunsApi.h"

namespace quorvel {

// The console in the browser, for the people who act on runs, under /console:
//   GET  /console                 the sign-in page (to the runs when signed in)
//   POST /console/sign-in         key and csrf as a form: a session cookie, or 401 (slowed) / 403
//   POST /console/sign-out        the session's csrf as a form: the session ends
//   GET  /console/runs, /console/run?app=&results=   the pages, filled by console.js
//   GET  /console/static/<file>   the style sheet and script, public
//   GET  /console/api/{session,apps,runs,run,verdicts}   the data as JSON, with a session only
//   GET  /console/media/<folder>/<name>              a stored asset, with a session only
// Deciding is here; the connection (reading the form, waiting out a slowed answer, sending a
// stored asset) is the session's. Every answer carries the console's security headers.
class Console {
 public:
  static constexpr std::string_view kRoot = "/console";
  static constexpr std::size_t kMaxFormBytes = 4096;
  static constexpr std::string_view kSessionCookie = "quorvel_console";
  static constexpr std::string_view kCsrfCookie = "quorvel_console_csrf";

  using Header = std::pair<std::string, std::string>;

  struct Request {
    std::string_view method;
    std::string_view target;
    std::string_view host;
    // Empty without these fields.
    std::string_view cookies;
    std::optional<std::string_view> origin;
    std::optional<std::string_view> fetchSite;
    std::string_view body;
    // The client's address, whose wrong keys are slowed.
    std::string client;
  };

  struct Answer {
    unsigned status = 200;
    std::string contentType;
    std::string body;
    std::vector<Header> headers;
    // How long the answer waits before it goes out.
    std::chrono::milliseconds delay{0};
    // Set: the stored asset (folder, name) is the answer instead of body.
    std::optional<std::pair<std::string, std::string>> media;
  };

  // Whether path is the console's.
  static bool owns(std::string_view path);
  // The headers of every console answer, refusals and stored assets included.
  static const std::vector<Header>& securityHeaders();
  // A refusal as JSON {"error": message}.
  static Answer refusal(unsigned status, const std::string& message);

  // Told the delay of each wrong key's answer.
  using WrongKeyHook = std::function<void(std::chrono::milliseconds)>;

  Console(const AssetStore& assets, RunStore& runs, const RunsApi& runsApi,
          ConsoleSessions& sessions, const std::vector<std::string>& apiKeys,
          const WrongKeyHook& onWrongKey)
      : assets_(assets),
        runs_(runs),
        runsApi_(runsApi),
        sessions_(sessions),
        apiKeys_(apiKeys),
        onWrongKey_(onWrongKey) {}

  // The answer to a request whose path the console owns; a POST's body is its form (at most
  // kMaxFormBytes). The run store may wait on a disk: call off the connections' threads. Never
  // throws.
  Answer answer(const Request& request) const noexcept;

 private:
  Answer route(const Request& request, std::string_view path) const;
  Answer signInPage(unsigned status, std::string_view error) const;
  Answer signIn(const Request& request) const;
  Answer signOut(const Request& request) const;
  Answer api(std::string_view name, std::string_view query, const ConsoleSessions::Session&) const;
  // A run's verdicts (verdicts), with its document and media too (run).
  Answer run(std::string_view query, bool withDocument) const;

  const AssetStore& assets_;
  RunStore& runs_;
  const RunsApi& runsApi_;
  ConsoleSessions& sessions_;
  const std::vector<std::string>& apiKeys_;
  const WrongKeyHook& onWrongKey_;
};

}  // namespace quorvel
