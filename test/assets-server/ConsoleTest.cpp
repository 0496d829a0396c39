#include <gtest/gtest.h>
#include <httplib.h>

#include <memory>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "AssetsServer.h"
#include "LoopbackHttp.h"
#include "support/TemporaryTree.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::chrono_literals;
using namespace testing;

constexpr const char* kCsp =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "media-src 'self'; connect-src 'self'; form-action 'self'; frame-ancestors 'none'; "
    "base-uri 'none'";

std::string match(const std::string& text, const std::string& pattern) {
  std::smatch found;
  return std::regex_search(text, found, std::regex(pattern)) ? found[1].str() : "";
}

class ConsoleTest : public ::testing::Test {
 protected:
  void start(const ConsoleSessions::Limits& limits = {}) {
    AssetsServer::Options options{.storage = tree.path() / "storage", .apiKeys = {"k1", "key-2"}};
    options.judgingThreads = 1;
    // Evidence fails where its result asks for it.
    options.judge = [](std::string_view, const json& result, const fs::path&) {
      return result.value("wants", "") == "fail"
                 ? Verdict::fail("blurred", {{"start_code_at", 1.5}})
                 : Verdict::pass();
    };
    options.console = limits;
    options.onWrongConsoleKey = [this](std::chrono::milliseconds delay) {
      std::lock_guard lock(mutex);
      delays.push_back(delay);
    };
    server = std::make_unique<AssetsServer>(options);
    port = server->start();
  }

  httplib::Result call(const std::string& method, const std::string& path,
                       const httplib::Headers& headers = {}, const std::string& body = "") {
    httplib::Client client("127.0.0.1", port);
    httplib::Request request;
    request.method = method;
    request.path = path;
    request.headers = headers;
    request.body = body;
    if (!body.empty()) request.set_header("Content-Type", "application/x-www-form-urlencoded");
    return client.send(request);
  }

  // The sign-in form's token and its cookie.
  std::pair<std::string, std::string> signInForm() {
    auto page = call("GET", "/console");
    return {match(page->body, "name=\"csrf\" value=\"([0-9a-f]+)\""),
            match(page->get_header_value("Set-Cookie"), "^(quorvel_console_csrf=[0-9a-f]+);")};
  }

  httplib::Result signIn(const std::string& key, const std::string& origin = "") {
    auto [csrf, cookie] = signInForm();
    httplib::Headers headers{{"Cookie", cookie}};
    if (!origin.empty()) headers.emplace("Origin", origin);
    return call("POST", "/console/sign-in", headers, "key=" + key + "&csrf=" + csrf);
  }

  // The Cookie field of a new session.
  std::string session() {
    return match(signIn("key-2")->get_header_value("Set-Cookie"), "^(quorvel_console=[0-9a-f]+);");
  }

  std::string upload(const std::string& appID, const std::string& fileName,
                     const std::string& content) {
    const std::string answer = testing::roundTrip(
        port, testing::request(appID, testing::part(fileName, "x/y", content) + testing::kClose));
    return json::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false)
        .value("filename", "");
  }

  std::string results(const std::string& appID, const json& data) {
    return upload(appID, "jsonResults.json", sealed(data.dump(), appID));
  }

  TemporaryTree tree{"quorvel-console"};
  std::unique_ptr<AssetsServer> server;
  int port = 0;
  std::mutex mutex;
  std::vector<std::chrono::milliseconds> delays;
};

TEST_F(ConsoleTest, NoDataWithoutALiveSession) {
  start({.lifetime = 0ms});
  const std::string expired = session();
  ASSERT_FALSE(expired.empty());
  const std::string forged = "quorvel_console=" + std::string(64, 'a');
  for (const std::string& cookie : {std::string(), forged, expired}) {
    for (const char* path : {"/console/api/session", "/console/api/apps", "/console/api/runs?app=a",
                             "/console/api/run?app=a&results=b",
                             "/console/api/verdicts?app=a&results=b", "/console/media/a/b.mp4"}) {
      auto answer = call("GET", path, {{"Cookie", cookie}});
      EXPECT_EQ(answer->status, 401) << path << " " << cookie;
      EXPECT_TRUE(json::parse(answer->body, nullptr, false).contains("error")) << answer->body;
    }
    for (const char* path : {"/console/runs", "/console/run?app=a&results=b"}) {
      auto answer = call("GET", path, {{"Cookie", cookie}});
      EXPECT_EQ(answer->status, 303) << path << " " << cookie;
      EXPECT_EQ(answer->get_header_value("Location"), "/console");
    }
  }
}

TEST_F(ConsoleTest, SignInNeedsTheFormsTokenAndAKeyAndSlowsWrongKeys) {
  start({.slowing = 1ms});
  auto [csrf, cookie] = signInForm();
  const std::string right = "key=k1&csrf=" + csrf;
  const std::tuple<httplib::Headers, std::string, int> refused[] = {
      {{{"Cookie", cookie}}, "key=k1&csrf=" + std::string(64, '0'), 403},
      {{}, right, 403},
      {{{"Cookie", cookie}, {"Origin", "http://evil.example"}}, right, 403},
      {{{"Cookie", cookie}, {"Sec-Fetch-Site", "cross-site"}}, right, 403},
      {{{"Cookie", cookie}}, "key=k3&csrf=" + csrf, 401},
      {{{"Cookie", cookie}}, "csrf=" + csrf, 401},
  };
  for (const auto& [headers, form, status] : refused) {
    auto answer = call("POST", "/console/sign-in", headers, form);
    EXPECT_EQ(answer->status, status) << form;
    EXPECT_TRUE(answer->get_header_value("Set-Cookie").starts_with("quorvel_console_csrf="));
    if (status == 401) {
      EXPECT_NE(answer->body.find("id=\"sign-in-error\" role=\"alert\""), std::string::npos);
    }
  }
  EXPECT_EQ(signIn("wrong")->status, 401);
  EXPECT_EQ(delays, std::vector<std::chrono::milliseconds>({0ms, 1ms, 2ms}));

  auto signedIn = signIn("key-2", "http://127.0.0.1:" + std::to_string(port));
  EXPECT_EQ(signedIn->status, 303);
  EXPECT_EQ(signedIn->get_header_value("Location"), "/console/runs");
  const std::string set = signedIn->get_header_value("Set-Cookie");
  EXPECT_TRUE(std::regex_match(set, std::regex("quorvel_console=[0-9a-f]{64}; Path=/console; "
                                               "HttpOnly; SameSite=Strict; Max-Age=28800")))
      << set;
  // Browsers send "Origin: null" from pages with no referrer, such as the console's own.
  EXPECT_EQ(signIn("key-2", "null")->status, 303);
  // A right key starts the slowing over.
  EXPECT_EQ(signIn("wrong")->status, 401);
  EXPECT_EQ(delays.back(), 0ms);

  const std::string id = set.substr(0, set.find(';'));
  EXPECT_EQ(call("GET", "/console", {{"Cookie", id}})->status, 303);
  const std::string token =
      json::parse(call("GET", "/console/api/session", {{"Cookie", id}})->body).value("csrf", "");
  EXPECT_EQ(call("POST", "/console/sign-out", {{"Cookie", id}}, "csrf=" + csrf)->status, 403);
  auto out = call("POST", "/console/sign-out", {{"Cookie", id}}, "csrf=" + token);
  EXPECT_EQ(out->status, 303);
  EXPECT_EQ(out->get_header_value("Location"), "/console");
  EXPECT_NE(out->get_header_value("Set-Cookie").find("quorvel_console=; "), std::string::npos);
  EXPECT_NE(out->get_header_value("Set-Cookie").find("Max-Age=0"), std::string::npos);
  EXPECT_EQ(call("GET", "/console/api/session", {{"Cookie", id}})->status, 401);
}

TEST_F(ConsoleTest, EveryKindOfAnswerCarriesTheSecurityHeaders) {
  start();
  const std::string film = upload("app", "film.mp4", "frames");
  const std::string id = session();
  const std::string media = "/console/media/app/" + film;
  const std::tuple<std::string, std::string, std::string, std::string, int> requests[] = {
      {"GET", "/console", "", "", 200},
      {"GET", "/console/static/console.css", "", "", 200},
      {"GET", "/console/static/nothing.css", "", "", 404},
      {"GET", "/console/runs", "", "", 303},
      {"GET", "/console/runs", id, "", 200},
      {"GET", "/console/api/apps", "", "", 401},
      {"GET", "/console/api/apps", id, "", 200},
      {"GET", media, id, "", 200},
      {"HEAD", media, id, "", 200},
      {"GET", "/console/media/app/0-film.mp4", id, "", 404},
      {"POST", "/console/sign-in", "", "key=k1", 403},
      {"POST", "/console/sign-in", "", std::string(5000, 'k'), 413},
      {"DELETE", "/console", "", "", 405},
  };
  for (const auto& [method, path, cookie, body, status] : requests) {
    auto answer = call(method, path, {{"Cookie", cookie}}, body);
    ASSERT_TRUE(answer) << method << " " << path;
    EXPECT_EQ(answer->status, status) << method << " " << path;
    EXPECT_EQ(answer->get_header_value("Content-Security-Policy"), kCsp) << path;
    EXPECT_EQ(answer->get_header_value("X-Content-Type-Options"), "nosniff") << path;
    EXPECT_EQ(answer->get_header_value("X-Frame-Options"), "DENY") << path;
    EXPECT_EQ(answer->get_header_value("Referrer-Policy"), "no-referrer") << path;
  }
  EXPECT_EQ(call("GET", "/console/static/console.js")->get_header_value("Content-Type"),
            "text/javascript; charset=utf-8");
}

TEST_F(ConsoleTest, ARunCarriesItsDeviceRecordAndMediaAndFailedRunsAreFound) {
  start();
  const std::string film = upload("team/app", "film.mp4", "0123456789");
  const json device = {{"name", "Ana's <b>phone</b>"}, {"battery", {{"level", 0.8}}}};
  auto runOf = [&](const char* wants) {
    return results("team/app",
                   {{"device_info", device},
                    {"tests_results",
                     {{"film", {{"url", "http://x/assets/team~2Fapp/" + film}, {"wants", wants}}},
                      {"volume", {{"status", 1}}}}}});
  };
  const std::string failing = runOf("fail");
  const std::string passing = runOf("pass");
  const std::string id = session();
  auto get = [&](const std::string& path) {
    return json::parse(call("GET", path, {{"Cookie", id}})->body, nullptr, false);
  };
  const std::string query = "/console/api/run?app=team%2Fapp&results=" + failing;
  json run = get(query);
  for (int i = 0; i < 1000 && run["verdicts"]["film"]["verdict"] == "pending"; ++i) {
    std::this_thread::sleep_for(10ms);
    run = get(query);
  }
  EXPECT_EQ(run["verdicts"]["film"]["verdict"], "fail") << run;
  EXPECT_EQ(run["document"]["device_info"], device);
  EXPECT_EQ(run["document"]["tests_results"]["volume"], json({{"status", 1}}));
  EXPECT_EQ(run["media"], json({{"film", "/console/media/team~2Fapp/" + film}}));
  json verdicts = get("/console/api/verdicts?app=team%2Fapp&results=" + failing);
  EXPECT_EQ(verdicts["verdicts"], run["verdicts"]);
  EXPECT_FALSE(verdicts.contains("document")) << verdicts;

  auto range = call("GET", run["media"]["film"].get<std::string>(),
                    {{"Cookie", id}, {"Range", "bytes=2-4"}});
  EXPECT_EQ(range->status, 206);
  EXPECT_EQ(range->body, "234");

  EXPECT_EQ(get("/console/api/apps"), json({{"apps", {"team/app"}}}));
  auto names = [&](const std::string& path) {
    std::vector<std::string> found;
    const json page = get(path);
    for (const json& listed : page["runs"]) found.push_back(listed.value("results", ""));
    return found;
  };
  EXPECT_EQ(names("/console/api/runs?app=team%2Fapp"), std::vector({passing, failing}));
  EXPECT_EQ(names("/console/api/runs?app=team%2Fapp&failed=1"), std::vector({failing}));
  EXPECT_EQ(names("/console/api/runs?app=team%2Fapp&failed=1&before=" + failing).size(), 0u);
}

}  // namespace
}  // namespace quorvel
