#include <gtest/gtest.h>
#include <httplib.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
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
using namespace testing;

// A judge that answers from a table once its gate is open, and notes every key it was asked.
struct ScriptedJudge {
  std::mutex mutex;
  std::condition_variable changed;
  bool open = true;
  std::vector<std::string> asked;
  std::map<std::string, Verdict> answers;

  void setOpen(bool value) {
    std::lock_guard lock(mutex);
    open = value;
    changed.notify_all();
  }
  // Bounded, so that a judge never called fails the test instead of hanging it.
  bool waitAsked() {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20), [&] { return !asked.empty(); });
  }
};

class RunsTest : public ::testing::Test {
 protected:
  // A server on the test's storage; judge null: one that does not judge.
  void start(const std::shared_ptr<ScriptedJudge>& judge) {
    AssetsServer::Options options{.storage = tree.path() / "storage", .apiKeys = {"key-2"}};
    options.judgingThreads = 1;
    if (judge) {
      options.judge = [judge](std::string_view key, const json&, const fs::path& asset) {
        std::unique_lock lock(judge->mutex);
        judge->asked.emplace_back(key);
        judge->changed.notify_all();
        judge->changed.wait(lock, [&] { return judge->open; });
        EXPECT_TRUE(fs::is_regular_file(asset)) << asset;
        return judge->answers.at(std::string(key));
      };
    }
    server = std::make_unique<AssetsServer>(options);
    port = server->start();
  }

  json upload(const std::string& appID, const std::string& fileName, const std::string& content) {
    std::string answer = roundTrip(port, request(appID, part(fileName, "x/y", content) + kClose));
    EXPECT_EQ(statuses(answer), std::vector<int>{200}) << answer;
    return json::parse(answer.substr(answer.find("\r\n\r\n") + 4), nullptr, false);
  }

  // The stored name of a results document, sealed for sealedFor.
  std::string results(const std::string& appID, const json& testsResults,
                      const std::string& sealedFor) {
    const std::string data = json{{"tests_results", testsResults}}.dump();
    return upload(appID, "jsonResults.json", sealed(data, sealedFor)).value("filename", "");
  }

  std::pair<int, json> get(const std::string& path, const std::string& key = "key-2") {
    httplib::Client client("127.0.0.1", port);
    httplib::Headers headers;
    if (!key.empty()) headers.emplace("Authorization", "Bearer " + key);
    auto answer = client.Get(path, headers);
    if (!answer) return {0, nullptr};
    return {answer->status, json::parse(answer->body, nullptr, false)};
  }

  json verdicts(const std::string& appID, const std::string& name) {
    return get("/v3/applications/" + appID + "/runs/" + name).second["verdicts"];
  }

  // The verdict once the judges are done with it (bounded: a stuck judge shows as pending).
  json judged(const std::string& appID, const std::string& name, const std::string& key) {
    json verdict;
    for (int i = 0; i < 1000; ++i) {
      verdict = verdicts(appID, name)[key];
      if (verdict["verdict"] != "pending") break;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return verdict;
  }

  TemporaryTree tree{"quorvel-runs"};
  std::unique_ptr<AssetsServer> server;
  int port = 0;
};

TEST_F(RunsTest, JudgesTheAppsOwnEvidenceUnderAValidSealWhileUploadsGoOn) {
  auto judge = std::make_shared<ScriptedJudge>();
  judge->open = false;
  judge->answers["film"] = Verdict::fail("blurred", {{"frames", 3}});
  start(judge);
  const std::string film = upload("team/app", "film.mp4", "frames").value("url", "");
  const std::string foreign = upload("other", "film.mp4", "frames").value("url", "");
  const std::string missing = film.substr(0, film.rfind('/') + 1) + "0-film.mp4";
  const std::string own = results("team/app",
                                  {{"film", {{"url", film}}},
                                   {"foreign", {{"url", foreign}}},
                                   {"missing", {{"url", missing}}},
                                   {"volume", {{"status", 1}}}},
                                  "team/app");
  const json first = verdicts("team/app", own);
  EXPECT_EQ(first["film"]["verdict"], "pending") << first;
  for (const char* key : {"foreign", "missing"}) {
    EXPECT_EQ(first[key], json({{"verdict", "unknown"},
                                {"why",
                                 "the evidence is not among this app's uploads on this "
                                 "server"}}));
  }
  EXPECT_FALSE(first.contains("volume"));

  // The one judging thread is held by the film: uploads are answered all the same. A proxy's
  // origin in the url still names the stored film.
  ASSERT_TRUE(judge->waitAsked());
  const std::string proxied = "https://proxy.example:8443" + film.substr(film.find("/assets/"));
  const std::string again = results("team/app", {{"film", {{"url", proxied}}}}, "team/app");
  const std::string unsealed = results("team/app", {{"film", {{"url", film}}}}, "team");
  EXPECT_EQ(verdicts("team/app", again)["film"]["verdict"], "pending");
  EXPECT_EQ(verdicts("team/app", unsealed)["film"],
            json({{"verdict", "unknown"},
                  {"why", "the results' seal is not valid, so their evidence is not judged"}}));

  judge->setOpen(true);
  const json fail = {{"verdict", "fail"}, {"why", "blurred"}, {"details", {{"frames", 3}}}};
  EXPECT_EQ(judged("team/app", own, "film"), fail);
  EXPECT_EQ(judged("team/app", again, "film"), fail);
  EXPECT_EQ(judge->asked, std::vector<std::string>({"film", "film"}));
}

TEST_F(RunsTest, ListsAnAppsRunsNewestFirstInPagesOnlyToKeyHolders) {
  start(nullptr);
  std::vector<std::string> names;
  for (int i = 0; i < 5; ++i) names.insert(names.begin(), results("team/app", json::object(), ""));
  const std::string film = upload("team", "film.mp4", "frames").value("url", "");
  const std::string teams = results("team", {{"film", {{"url", film}}}}, "team");

  std::vector<std::string> listed;
  std::string query = "?limit=2";
  for (int page = 0; page < 3; ++page) {
    auto [status, body] = get("/v3/applications/team/app/runs" + query);
    ASSERT_EQ(status, 200) << body;
    EXPECT_EQ(body["runs"].size(), page < 2 ? 2u : 1u) << body;
    for (const json& run : body["runs"]) listed.push_back(run.value("results", ""));
    EXPECT_EQ(body.contains("next"), page < 2) << body;
    if (body.contains("next")) query = "?limit=2&before=" + body["next"].get<std::string>();
  }
  EXPECT_EQ(listed, names);
  // An app ID that is the start of another's is an app of its own.
  const json team = get("/v3/applications/team/runs").second["runs"];
  ASSERT_EQ(team.size(), 1u) << team;
  EXPECT_EQ(team[0]["results"], teams);
  EXPECT_EQ(team[0]["seal_valid"], true);
  EXPECT_EQ(
      team[0]["verdicts"],
      json({{"film", {{"verdict", "unknown"}, {"why", "this server does not judge evidence"}}}}));
  EXPECT_EQ(get("/v3/applications/nobody/runs").second, json({{"runs", json::array()}}));

  const std::string runs = "/v3/applications/team/app/runs";
  const std::tuple<std::string, std::string, int> refused[] = {
      {runs, "", 401},
      {runs, "key-1", 401},
      {runs + "/" + names[0], "", 401},
      {runs + "?limit=0", "key-2", 400},
      {runs + "?limit=201", "key-2", 400},
      {runs + "?limit=two", "key-2", 400},
      {runs + "?limit=%3", "key-2", 400},
      {runs + "?before=" + teams, "key-2", 400},
      {runs + "/" + teams, "key-2", 404},
      {runs + "/", "key-2", 404},
  };
  for (const auto& [path, key, status] : refused) {
    auto [got, body] = get(path, key);
    EXPECT_EQ(got, status) << path << " " << body;
    EXPECT_TRUE(body.contains("error")) << path << " " << body;
  }
  std::string post = roundTrip(port, "POST " + runs + " HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_EQ(statuses(post), std::vector<int>{405});
  EXPECT_NE(post.find("Allow: GET, HEAD"), std::string::npos) << post;
  std::string anonymous = roundTrip(port, "GET " + runs + " HTTP/1.1\r\nHost: x\r\n\r\n");
  EXPECT_NE(anonymous.find("WWW-Authenticate: Bearer"), std::string::npos) << anonymous;
}

TEST_F(RunsTest, PendingJudgementsOutliveARestartAndALostDatabaseIsRebuilt) {
  auto stuck = std::make_shared<ScriptedJudge>();
  stuck->open = false;
  stuck->answers["film"] = Verdict::fail("from a stopped server");
  start(stuck);
  const std::string film = upload("app", "film.mp4", "frames").value("url", "");
  const std::string name = results("app", {{"film", {{"url", film}}}}, "app");
  ASSERT_TRUE(stuck->waitAsked());
  const json before = get("/v3/applications/app/runs").second;
  server->stop();
  EXPECT_TRUE(server->judgementsAbandoned());
  // The abandoned judgement ends now, with nowhere to store its verdict.
  stuck->setOpen(true);

  auto working = std::make_shared<ScriptedJudge>();
  working->answers["film"] = Verdict::pass();
  start(working);
  EXPECT_EQ(judged("app", name, "film"), json({{"verdict", "pass"}}));
  server->stop();
  EXPECT_FALSE(server->judgementsAbandoned());

  const fs::path database = server->runsDatabase();
  EXPECT_EQ(database, tree.path() / "storage.runs.sqlite");
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(database.string() + suffix);
  working->setOpen(false);
  start(working);
  EXPECT_EQ(get("/v3/applications/app/runs").second, before);
  working->setOpen(true);
  EXPECT_EQ(judged("app", name, "film"), json({{"verdict", "pass"}}));
  EXPECT_EQ(working->asked, std::vector<std::string>({"film", "film"}));
}

}  // namespace
}  // namespace quorvel
