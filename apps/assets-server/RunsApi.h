#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "RunStore.h"

namespace quorvel {

// The runs as JSON, read with the upload key:
//   GET /v3/applications/{appID}/runs?before={results}&limit={1..200}&failed=1
//       {"runs": [run, ...], "next": results}, newest first; "next" only when more follow;
//       failed=1 keeps the runs with at least one failed verdict
//   GET /v3/applications/{appID}/runs/{results}   one run
// where a run is {"results", "received_at", "seal_valid", "verdicts": {key: {"verdict", "why",
// "details"}}}. The app ID is the path text as sent, slashes included, as in an upload's path: a
// path ending in "/runs" lists the runs of the app ID before it; otherwise its last segment names
// a run and the segment before it is "runs". Results names never contain "/" and are never "runs"
// or "asset-upload", so no path means two things (upload paths are matched first).
class RunsApi {
 public:
  static constexpr std::size_t kDefaultLimit = 50;
  static constexpr std::size_t kMaxLimit = 200;

  struct Route {
    std::string appID;
    // Empty for the list.
    std::string results;
  };
  struct Answer {
    unsigned status = 200;
    nlohmann::json body;
  };

  // The route of a request path, or nothing for any other path.
  static std::optional<Route> routeOf(std::string_view path);
  static nlohmann::json toJson(const RunStore::Run& run);

  explicit RunsApi(RunStore& runs) : runs_(runs) {}
  // The answer to a GET of route with query; never throws.
  Answer answer(const Route& route, std::string_view query) const noexcept;

 private:
  Answer list(const Route& route, std::string_view query) const;

  RunStore& runs_;
};

}  // namespace quorvel
