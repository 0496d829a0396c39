#include "Console.h"

#include <cstdio>
#include <exception>

#include "ConsoleFiles.h"
#include "RequestTarget.h"
#include "RunRecorder.h"
#include "Secrets.h"

namespace quorvel {

namespace {

using nlohmann::json;

constexpr std::string_view kSignInPath = "/console/sign-in";
constexpr std::string_view kSignOutPath = "/console/sign-out";
constexpr std::string_view kStaticPrefix = "/console/static/";
constexpr std::string_view kApiPrefix = "/console/api/";
constexpr std::string_view kMediaPrefix = "/console/media/";
constexpr std::string_view kRunsPage = "/console/runs";
constexpr std::string_view kRunPage = "/console/run";
// The sign-in form's token lives as long as a person may take to type a key.
constexpr int kSignInFormSeconds = 600;
constexpr int kSessionSeconds = 8 * 60 * 60;
constexpr std::string_view kCookieAttributes = "; Path=/console; HttpOnly; SameSite=Strict";
constexpr std::string_view kWrongKey = "The key was not accepted. Check it and try again.";
constexpr std::string_view kStaleForm =
    "The sign-in form had expired or came from elsewhere. Sign in again.";

Console::Answer made(unsigned status, std::string_view contentType, std::string body) {
  Console::Answer answer;
  answer.status = status;
  answer.contentType = contentType;
  answer.body = std::move(body);
  return answer;
}

std::string cookie(std::string_view name, std::string_view value, int seconds) {
  return std::string(name) + "=" + std::string(value) + std::string(kCookieAttributes) +
         "; Max-Age=" + std::to_string(seconds);
}

// The value of the cookie called name in a Cookie field; empty without one.
std::string_view cookieValue(std::string_view cookies, std::string_view name) {
  while (!cookies.empty()) {
    const std::size_t end = cookies.find(';');
    std::string_view pair = cookies.substr(0, end);
    pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
    if (pair.size() > name.size() && pair.starts_with(name) && pair[name.size()] == '=') {
      return pair.substr(name.size() + 1);
    }
    cookies = end == std::string_view::npos ? std::string_view() : cookies.substr(end + 1);
  }
  return {};
}

Console::Answer redirect(std::string_view location) {
  Console::Answer answer =
      made(303, "text/plain; charset=utf-8", "See " + std::string(location) + "\n");
  answer.headers.emplace_back("Location", location);
  return answer;
}

Console::Answer jsonAnswer(unsigned status, const json& body) {
  Console::Answer answer =
      made(status, "application/json", body.dump(-1, ' ', false, json::error_handler_t::replace));
  answer.headers.emplace_back("Cache-Control", "no-store");
  return answer;
}

Console::Answer page(std::string_view name) {
  const auto file = ConsoleFiles::find(name);
  if (!file) return Console::refusal(500, "the console was built without its pages");
  Console::Answer answer = made(200, file->mediaType, std::string(file->bytes));
  answer.headers.emplace_back("Cache-Control", "no-store");
  return answer;
}

void replace(std::string& text, std::string_view marker, std::string_view with) {
  if (const std::size_t at = text.find(marker); at != std::string::npos) {
    text.replace(at, marker.size(), with);
  }
}

bool readOnly(std::string_view method) { return method == "GET" || method == "HEAD"; }

Console::Answer notAllowed(std::string_view allow) {
  Console::Answer answer = Console::refusal(405, "use " + std::string(allow));
  answer.headers.emplace_back("Allow", allow);
  return answer;
}

}  // namespace

bool Console::owns(std::string_view path) {
  return path == kRoot || (path.starts_with(kRoot) && path[kRoot.size()] == '/');
}

const std::vector<Console::Header>& Console::securityHeaders() {
  static const std::vector<Header> headers = {
      {"Content-Security-Policy",
       "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
       "media-src 'self'; connect-src 'self'; form-action 'self'; frame-ancestors 'none'; "
       "base-uri 'none'"},
      {"X-Content-Type-Options", "nosniff"},
      {"X-Frame-Options", "DENY"},
      {"Referrer-Policy", "no-referrer"},
  };
  return headers;
}

Console::Answer Console::refusal(unsigned status, const std::string& message) {
  return jsonAnswer(status, json{{"error", message}});
}

Console::Answer Console::answer(const Request& request) const noexcept {
  try {
    return route(request, RequestTarget::path(request.target));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "console: %s\n", error.what());
    return refusal(500, "the console failed");
  }
}

Console::Answer Console::route(const Request& request, std::string_view path) const {
  if (path.starts_with(kStaticPrefix)) {
    if (!readOnly(request.method)) return notAllowed("GET, HEAD");
    // Pages are served at their own routes, never as files.
    const std::string_view name = path.substr(kStaticPrefix.size());
    const auto file = name.ends_with(".html") ? std::nullopt : ConsoleFiles::find(name);
    if (!file) return refusal(404, "no such file");
    Answer answer = made(200, file->mediaType, std::string(file->bytes));
    answer.headers.emplace_back("Cache-Control", "no-cache");
    return answer;
  }
  if (path == kSignInPath || path == kSignOutPath) {
    if (request.method != "POST") return notAllowed("POST");
    return path == kSignInPath ? signIn(request) : signOut(request);
  }
  if (!readOnly(request.method)) return notAllowed("GET, HEAD");
  const std::optional<ConsoleSessions::Session> session =
      sessions_.find(cookieValue(request.cookies, kSessionCookie));
  if (path == kRoot) return session ? redirect(kRunsPage) : signInPage(200, {});
  if (path == kRunsPage || path == kRunPage) {
    return session ? page(path == kRunsPage ? "runs.html" : "run.html") : redirect(kRoot);
  }
  const bool api = path.starts_with(kApiPrefix);
  if (!api && !path.starts_with(kMediaPrefix)) return refusal(404, "no such page");
  if (!session) return refusal(401, "sign in first");
  if (api) {
    return this->api(path.substr(kApiPrefix.size()), RequestTarget::query(request.target),
                     *session);
  }
  const auto media = RequestTarget::asset(path, kMediaPrefix);
  if (!media) return refusal(404, "no such asset");
  Answer answer;
  answer.media.emplace(media->first, media->second);
  return answer;
}

Console::Answer Console::signInPage(unsigned status, std::string_view error) const {
  const std::string csrf = ConsoleSessions::token();
  if (csrf.empty()) return refusal(500, "no random token could be made");
  Answer answer = page("sign-in.html");
  replace(answer.body, "@CSRF@", csrf);
  std::string alert;
  if (!error.empty()) {
    alert = "<p id=\"sign-in-error\" role=\"alert\">" + std::string(error) + "</p>";
  }
  replace(answer.body, "@ERROR@", alert);
  answer.status = status;
  answer.headers.emplace_back("Set-Cookie", cookie(kCsrfCookie, csrf, kSignInFormSeconds));
  return answer;
}

Console::Answer Console::signIn(const Request& request) const {
  const auto form = RequestTarget::parameters(request.body);
  // Only a form of this server, from a page of this server, is taken (double-submit token). The
  // pages' no-referrer policy makes browsers send "Origin: null" with them, so a null origin
  // counts as none; the browser's Sec-Fetch-Site, where sent, must say the same origin too.
  const std::string host(request.host);
  const bool sameOrigin =
      (!request.origin || *request.origin == "null" || *request.origin == "http://" + host ||
       *request.origin == "https://" + host) &&
      (!request.fetchSite || *request.fetchSite == "same-origin" || *request.fetchSite == "none");
  if (!form || !sameOrigin || !form->contains("csrf") ||
      !Secrets::same(form->at("csrf"), cookieValue(request.cookies, kCsrfCookie))) {
    return signInPage(403, kStaleForm);
  }
  const auto key = form->find("key");
  if (key == form->end() || !Secrets::accepted(apiKeys_, key->second)) {
    Answer answer = signInPage(401, kWrongKey);
    answer.delay = sessions_.wrongKey(request.client);
    if (onWrongKey_) onWrongKey_(answer.delay);
    return answer;
  }
  sessions_.rightKey(request.client);
  const auto session = sessions_.begin();
  if (!session) return refusal(500, "no random token could be made");
  Answer answer = redirect(kRunsPage);
  answer.headers.emplace_back("Set-Cookie", cookie(kSessionCookie, session->id, kSessionSeconds));
  answer.headers.emplace_back("Set-Cookie", cookie(kCsrfCookie, "", 0));
  return answer;
}

Console::Answer Console::signOut(const Request& request) const {
  const std::string_view id = cookieValue(request.cookies, kSessionCookie);
  const auto session = sessions_.find(id);
  if (session) {
    const auto form = RequestTarget::parameters(request.body);
    if (!form || !form->contains("csrf") || !Secrets::same(form->at("csrf"), session->csrf)) {
      return refusal(403, "the sign-out form is not this session's");
    }
    sessions_.end(id);
  }
  Answer answer = redirect(kRoot);
  answer.headers.emplace_back("Set-Cookie", cookie(kSessionCookie, "", 0));
  return answer;
}

Console::Answer Console::api(std::string_view name, std::string_view query,
                             const ConsoleSessions::Session& session) const {
  if (name == "session") return jsonAnswer(200, json{{"csrf", session.csrf}});
  std::string error;
  if (name == "apps") {
    const auto apps = runs_.apps(error);
    if (!apps) {
      std::fprintf(stderr, "%s\n", error.c_str());
      return refusal(500, "cannot read the runs");
    }
    return jsonAnswer(200, json{{"apps", *apps}});
  }
  if (name == "run" || name == "verdicts") return run(query, name == "run");
  if (name != "runs") return refusal(404, "no such data");
  const auto parameters = RequestTarget::parameters(query);
  if (!parameters || !parameters->contains("app")) return refusal(400, "name the app");
  // The runs API's own answer, its paging and filter included.
  const RunsApi::Answer runs = runsApi_.answer({parameters->at("app"), {}}, query);
  return jsonAnswer(runs.status, runs.body);
}

Console::Answer Console::run(std::string_view query, bool withDocument) const {
  const auto parameters = RequestTarget::parameters(query);
  // An empty name would ask the runs API for the list.
  if (!parameters || !parameters->contains("app") || !parameters->contains("results") ||
      parameters->at("results").empty()) {
    return refusal(400, "name the app and the run's results");
  }
  const RunsApi::Answer found =
      runsApi_.answer({parameters->at("app"), parameters->at("results")}, {});
  // A page waiting for verdicts asks every few seconds: the stored document is read only once.
  if (found.status != 200 || !withDocument) return jsonAnswer(found.status, found.body);
  json body = found.body;
  const std::string folder = AssetStore::folderName(parameters->at("app"));
  json data = RunRecorder::documentData(assets_.root() / folder / parameters->at("results"));
  json document = json::object();
  for (const char* part : {"device_info", "tests_results"}) {
    document[part] = data.is_object() && data.contains(part) && data[part].is_object()
                         ? data[part]
                         : json::object();
  }
  json media = json::object();
  for (const auto& [key, result] : document["tests_results"].items()) {
    if (!result.is_object() || !result.contains("url") || !result["url"].is_string()) continue;
    const auto asset = RunRecorder::ownAsset(assets_, folder, result["url"].get<std::string>());
    if (asset) media[key] = std::string(kMediaPrefix) + folder + "/" + *asset;
  }
  body["document"] = std::move(document);
  body["media"] = std::move(media);
  return jsonAnswer(200, body);
}

}  // namespace quorvel
