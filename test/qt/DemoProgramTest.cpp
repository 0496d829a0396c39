#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AssetsServer.h"
#include "EvidenceJudges.h"
#include "ResultsSeal.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Version.h"
#include "support/MovieProbe.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

struct Finished {
  int exitCode = -1;
  std::string out;
  std::string err;
};

// The demo run offscreen, or without any display at all.
Finished runDemo(const QStringList& arguments, bool offscreen = true) {
  // Each run films into a documents folder of its own: runs side by side must not share a movie.
  TemporaryTree documents{"quorvel-demo-documents"};
  QProcess demo;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("XDG_DOCUMENTS_DIR", QString::fromStdString(documents.path().string()));
  environment.remove("QT_QPA_PLATFORM");
  if (offscreen) environment.insert("QT_QPA_PLATFORM", "offscreen");
  // A sanitizer build of the demo would otherwise report Qt's process-long caches at exit.
  environment.insert("ASAN_OPTIONS", "detect_leaks=0");
  environment.remove("DISPLAY");
  environment.remove("WAYLAND_DISPLAY");
  demo.setProcessEnvironment(environment);
  demo.start(QUORVEL_DEMO_PROGRAM, arguments);
  // A whole run under the sanitizers takes a few seconds; this bound is only a safety net.
  if (!demo.waitForFinished(180000)) {
    demo.kill();
    demo.waitForFinished();
  }
  return {demo.exitStatus() == QProcess::NormalExit ? demo.exitCode() : -1,
          demo.readAllStandardOutput().toStdString(), demo.readAllStandardError().toStdString()};
}

// A request to the server with the demo's key, by curl: its answer as JSON (null when none).
nlohmann::json askServer(const std::vector<std::string>& curlArguments) {
  QProcess curl;
  QStringList arguments{"-sS", "-H", "Authorization: Bearer demo-key"};
  for (const auto& argument : curlArguments) arguments << QString::fromStdString(argument);
  curl.start("curl", arguments);
  curl.waitForFinished(30000);
  return nlohmann::json::parse(curl.readAllStandardOutput().toStdString(), nullptr, false);
}

// The demo against an assets server of the test's own that takes the key "demo-key".
class DemoProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::string(QUORVEL_DEMO_PROGRAM).empty()) GTEST_SKIP() << "the demo is not built";
    port = server.start();
  }
  // An unattended run of app "demo-app" against the server.
  Finished autopilot(const QStringList& arguments, const QString& key = "demo-key") {
    return runDemo(QStringList{"--autopilot", "--assets-host",
                               QString("http://127.0.0.1:%1").arg(port), "--app-id", "demo-app",
                               "--api-key", key} +
                   arguments);
  }

  // The stored name of a file uploaded as the app's asset under the given file name.
  std::string upload(const std::filesystem::path& file, const std::string& name) {
    return askServer({"-F", "content=@" + file.string() + ";filename=" + name,
                      origin() + "/v3/applications/demo-app/asset-upload"})
        .value("filename", "");
  }
  // A run's film verdict once it is no longer pending; the server has a minute to judge.
  nlohmann::json filmVerdict(const std::string& results) {
    nlohmann::json verdict;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      verdict = askServer({origin() + "/v3/applications/demo-app/runs/" + results});
      verdict = verdict.is_object() ? verdict["verdicts"]["device_front_video"] : nullptr;
    } while (verdict.value("verdict", "") == "pending" &&
             std::chrono::steady_clock::now() < deadline);
    return verdict;
  }
  // The stored results of a run sent again as a new run, its film replaced and sealed anew.
  std::string resealWithFilm(const std::string& results, const std::string& film) {
    const auto folder = tree.path() / "uploads" / "demo-app";
    nlohmann::json document = nlohmann::json::parse(fileContents(folder / results));
    nlohmann::json& video = document["data"]["tests_results"]["device_front_video"];
    video["url"] = origin() + "/assets/demo-app/" + film;
    document["sha256"] = ResultsSeal::sha256Hex(document["data"].dump(), "demo-app");
    const auto resealed = tree.path() / "resealed.json";
    std::ofstream(resealed) << document.dump();
    return upload(resealed, "jsonResults.json");
  }
  std::string origin() const { return "http://127.0.0.1:" + std::to_string(port); }

  TemporaryTree tree{"quorvel-demo"};
  AssetsServer server{{.storage = tree.path() / "uploads",
                       .apiKeys = {"demo-key"},
                       .judge = EvidenceJudges::judge}};
  int port = 0;
};

TEST_F(DemoProgram, AutopilotCompletesADefaultRunAgainstTheAssetsServer) {
  const QString screenshots = QString::fromStdString((tree.path() / "shots").string());
  const Finished run = autopilot({"--screenshots", screenshots});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  // The answer is the output: the libraries' own chatter (no sound card here) stays out of it.
  EXPECT_EQ(run.err, "");

  // One JSON line: the completion response, with the stored results document's address.
  ASSERT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
  const Dictionary response = Dictionary::parse(run.out);
  EXPECT_EQ(response["status_code"], 200);
  const std::string url = response["uploaded_results_info"]["url"].get<std::string>();
  EXPECT_EQ(url.rfind("http://127.0.0.1:" + std::to_string(port) + "/assets/demo-app/", 0), 0u);
  // How the stored document is sealed is RunUploadTest's.

  // The default run's four tests, each passed through the virtual devices: the charger's cable,
  // the volume keys at the window, the fingers on the touch screen and the mirror camera.
  const Dictionary& results = response["tests_results"];
  EXPECT_EQ(results.size(), 4u);
  for (const auto& [name, result] : results.items()) {
    const bool passed = result.contains("success") ? result["success"] == true
                                                   : result["volume_up"]["success"] == true &&
                                                         result["volume_down"]["success"] == true;
    EXPECT_TRUE(passed) << name << ": " << result.dump();
  }
  // The film of the screen in the mirror: H.264 with sound, at least the 5 s of the sequence.
  const Dictionary& video = results["device_front_video"];
  const std::string filmUrl = video["url"];
  const auto movie = tree.path() / "uploads" / "demo-app" / filmUrl.substr(filmUrl.rfind('/') + 1);
  ASSERT_TRUE(std::filesystem::exists(movie)) << filmUrl;
  const auto film = probeMovie(movie.string());
  ASSERT_TRUE(film && film->first("h264"));
  EXPECT_GE(film->first("h264")->seconds, 5.0);
  EXPECT_TRUE(std::any_of(film->streams.begin(), film->streams.end(),
                          [](const ProbedStream& stream) { return stream.sampleRate > 0; }))
      << "no sound";
  // The server judges the film by what it shows: the run's codes, the colours between them.
  const std::string stored = response["uploaded_results_info"]["filename"];
  const nlohmann::json judged = filmVerdict(stored);
  EXPECT_EQ(judged.value("verdict", ""), "pass") << judged;
  // The same results, sealed again, with the film's picture blacked out (its sound kept) ...
  const auto black = tree.path() / "black.mp4";
  ASSERT_TRUE(shell("ffmpeg -v error -i " + movie.string() +
                    " -vf drawbox=t=fill:c=black -c:a copy " + black.string()));
  const nlohmann::json blacked = filmVerdict(resealWithFilm(stored, upload(black, "b.mp4")));
  EXPECT_EQ(blacked.value("verdict", ""), "fail") << blacked;
  EXPECT_NE(blacked.value("why", ""), "");
  // ... and pointing at another run's film fail.
  const Finished other = autopilot({"--tests", "device_front_video_v2"});
  ASSERT_EQ(other.exitCode, 0) << other.err;
  const std::string otherUrl =
      Dictionary::parse(other.out)["tests_results"]["device_front_video"]["url"];
  const nlohmann::json swapped =
      filmVerdict(resealWithFilm(stored, otherUrl.substr(otherUrl.rfind('/') + 1)));
  EXPECT_EQ(swapped.value("verdict", ""), "fail") << swapped;

  // Every screen of the run was captured once, in order, and the film's steps within its screen.
  const QStringList shots = QDir(screenshots).entryList({"*.png"}, QDir::Files, QDir::Name);
  QStringList expected = {
      "01-HostPageViewController.png",       "02-StartViewController.png",
      "03-IMEIViewController.png",           "04-MultipleTests_v2_ViewController.png",
      "05-MultiTouch_v2_ViewController.png", "06-DeviceFrontVideo_v2_ViewController.png"};
  int index = 7;
  for (const char* step :
       {"preview", "start-code", "blue", "yellow", "red", "black", "green", "end-code", "review"}) {
    expected << QString("%1-DeviceFrontVideo_v2_ViewController-%2.png")
                    .arg(index++, 2, 10, QChar('0'))
                    .arg(step);
  }
  expected << QString("%1-TestsFinishedViewController.png").arg(index);
  expected << QString("%1-ResultPageViewController.png").arg(index + 1);
  EXPECT_EQ(shots.join(" ").toStdString(), expected.join(" ").toStdString());
}

TEST_F(DemoProgram, StrictUploadsTurnAWrongKeyIntoAFailedRun) {
  // The server refuses the key with 401 and an error object: a strict run shows the failure alert,
  // whose last answer (try later) the autopilot takes. A lenient run's answer is the core's.
  const Finished run = autopilot(
      {"--tests", "charging_v1", "--serial", "S1", "--hide-start-screen", "--strict-uploads"},
      "wrong-key");
  const Dictionary response = Dictionary::parse(run.out, nullptr, false);
  ASSERT_TRUE(response.is_object()) << run.out << run.err;
  EXPECT_EQ(response.value("status_code", 0), 406);
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(DemoProgram, BadFlagsExplainAndExitWithTwo) {
  const std::vector<std::pair<QStringList, std::string>> cases = {
      {{"--language", "fr"}, "--language must be en or pt"},
      {{"--assets-host", "ftp://x"}, "--assets-host must be an http:// or https:// URL"},
      {{"--app-id"}, "Missing value after '--app-id'"},
      {{"--frobnicate"}, "Unknown option 'frobnicate'"},
      {{"--imei", "1", "--imei", "2"}, "--imei given twice"},
      // Without a display only the unattended run can work.
      {{}, "no display; use --autopilot"}};
  for (const auto& [arguments, reason] : cases) {
    const Finished run = runDemo(arguments, !arguments.isEmpty());
    EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
    EXPECT_NE(run.err.find(reason), std::string::npos)
        << arguments.join(' ').toStdString() << run.err;
  }
  // Asked for its version, it answers at once, even without a display.
  const Finished version = runDemo({"--version"}, false);
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out, "quorvel-demo " + std::string(QuorvelVersionString) + "\n");
}

}  // namespace
}  // namespace quorvel::testing
