#include <gtest/gtest.h>

#include <QDir>
#include <QProcess>
#include <filesystem>

#include "AssetsServer.h"
#include "quorvel/Dictionary.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

struct Finished {
  int exitCode = -1;
  std::string out;
  std::string err;
};

Finished runDemo(const QStringList& arguments) {
  QProcess demo;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("QT_QPA_PLATFORM", "offscreen");
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

TEST(DemoProgram, AutopilotCompletesADefaultRunAgainstTheAssetsServer) {
  if (std::string(QUORVEL_DEMO_PROGRAM).empty()) GTEST_SKIP() << "the demo is not built";
  TemporaryTree tree{"quorvel-demo-run"};
  AssetsServer server({tree.path() / "uploads", {"demo-key"}});
  const int port = server.start();
  const QString screenshots = QString::fromStdString((tree.path() / "shots").string());

  const Finished run =
      runDemo({"--autopilot", "--assets-host", QString("http://127.0.0.1:%1").arg(port), "--app-id",
               "demo-app", "--api-key", "demo-key", "--screenshots", screenshots});
  server.stop();
  ASSERT_EQ(run.exitCode, 0) << run.err;

  // One JSON line: the completion response, with the stored results document's address.
  ASSERT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
  const Dictionary response = Dictionary::parse(run.out);
  EXPECT_EQ(response["status_code"], 200);
  const std::string url = response["uploaded_results_info"]["url"].get<std::string>();
  EXPECT_EQ(url.rfind("http://127.0.0.1:" + std::to_string(port) + "/assets/demo-app/", 0), 0u);
  // How the stored document is sealed is RunUploadTest's.

  // Every screen of the run was captured once, in order.
  const QStringList shots = QDir(screenshots).entryList({"*.png"}, QDir::Files, QDir::Name);
  EXPECT_EQ(shots,
            QStringList({"01-HostPageViewController.png", "02-StartViewController.png",
                         "03-IMEIViewController.png", "04-MultipleTests_v2_ViewController.png",
                         "05-MultiTouch_v2_ViewController.png",
                         "06-TestsFinishedViewController.png", "07-ResultPageViewController.png"}));
}

TEST(DemoProgram, BadFlagsExplainAndExitWithTwo) {
  if (std::string(QUORVEL_DEMO_PROGRAM).empty()) GTEST_SKIP() << "the demo is not built";
  const std::vector<std::pair<QStringList, std::string>> cases = {
      {{"--language", "fr"}, "--language must be en or pt"},
      {{"--assets-host", "ftp://x"}, "--assets-host must be an http:// or https:// URL"},
      {{"--app-id"}, "--app-id needs a value"},
      {{"--frobnicate"}, "unknown option \"--frobnicate\""},
      // Without a display only the unattended run can work.
      {{}, "no display; use --autopilot"}};
  for (const auto& [arguments, reason] : cases) {
    QProcess demo;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("QT_QPA_PLATFORM");
    environment.remove("DISPLAY");
    environment.remove("WAYLAND_DISPLAY");
    demo.setProcessEnvironment(environment);
    demo.start(QUORVEL_DEMO_PROGRAM, arguments);
    ASSERT_TRUE(demo.waitForFinished(60000));
    EXPECT_EQ(demo.exitCode(), 2) << arguments.join(' ').toStdString();
    EXPECT_NE(demo.readAllStandardError().toStdString().find(reason), std::string::npos)
        << arguments.join(' ').toStdString();
  }
}

}  // namespace
}  // namespace quorvel::testing
