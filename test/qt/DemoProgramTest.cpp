#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QProcess>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

#include "AssetsServer.h"
#include "media/QrCodeReader.h"
#include "media/SoundDecoder.h"
#include "quorvel/Dictionary.h"
#include "quorvel/virtual/VirtualSpeaker.h"
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

// The codes the film's frames show once flipped back to how the screen showed them.
std::set<std::string> codesIn(const std::filesystem::path& movie,
                              const std::filesystem::path& frames) {
  std::filesystem::create_directories(frames);
  EXPECT_TRUE(shell("ffmpeg -v error -i " + movie.string() + " -vf fps=4,hflip " +
                    (frames / "f%03d.png").string()));
  std::set<std::string> codes;
  for (const auto& entry : std::filesystem::directory_iterator(frames)) {
    QImage frame = QImage(QString::fromStdString(entry.path().string()))
                       .convertToFormat(QImage::Format_Grayscale8);
    for (const auto& code : QrCodeReader::read(frame.constBits(), frame.width(), frame.height(),
                                               static_cast<int>(frame.bytesPerLine()))) {
      codes.insert(code);
    }
  }
  return codes;
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
  // Where the server stored the upload at url.
  std::filesystem::path stored(const std::string& url) const {
    return tree.path() / "uploads" / "demo-app" / url.substr(url.rfind('/') + 1);
  }

  TemporaryTree tree{"quorvel-demo"};
  AssetsServer server{{tree.path() / "uploads", {"demo-key"}}};
  int port = 0;
};

TEST_F(DemoProgram, AutopilotCompletesADefaultRunAgainstTheAssetsServer) {
  const QString screenshots = QString::fromStdString((tree.path() / "shots").string());
  const Finished run = autopilot({"--screenshots", screenshots});
  ASSERT_EQ(run.exitCode, 0) << run.err;

  // One JSON line: the completion response, with the stored results document's address.
  ASSERT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
  const Dictionary response = Dictionary::parse(run.out);
  EXPECT_EQ(response["status_code"], 200);
  const std::string url = response["uploaded_results_info"]["url"].get<std::string>();
  EXPECT_EQ(url.rfind("http://127.0.0.1:" + std::to_string(port) + "/assets/demo-app/", 0), 0u);
  // How the stored document is sealed is RunUploadTest's.

  // The film of the screen in the mirror: H.264 with sound, at least the 5 s of the sequence,
  // and its frames, flipped back, show exactly the codes the result names.
  const Dictionary& results = response["tests_results"];
  EXPECT_EQ(results.size(), 4u);
  const Dictionary& video = results["device_front_video"];
  ASSERT_EQ(video.value("success", false), true) << video.dump();
  EXPECT_EQ(video["version"], "2");
  EXPECT_EQ(video["md5"].get<std::string>().size(), 32u);
  const auto movie = stored(video["url"]);
  ASSERT_TRUE(std::filesystem::exists(movie)) << video["url"];
  const auto film = probeMovie(movie.string());
  ASSERT_TRUE(film && film->first("h264"));
  EXPECT_GE(film->first("h264")->seconds, 5.0);
  EXPECT_TRUE(std::any_of(film->streams.begin(), film->streams.end(),
                          [](const ProbedStream& stream) { return stream.sampleRate > 0; }))
      << "no sound";
  EXPECT_EQ(codesIn(movie, tree.path() / "frames"),
            (std::set<std::string>{video["start_qr_code"], video["end_qr_code"]}));

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

TEST_F(DemoProgram, FirstVideoTestReadsItsStartCodeBackFromTheMirror) {
  const Finished run = autopilot({"--screen", "device_front_video_v1"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const Dictionary result = Dictionary::parse(run.out);
  EXPECT_EQ(result["success"], true);
  EXPECT_EQ(result["version"], "1");
  EXPECT_EQ(result["start_qr_code"].get<std::string>().rfind("start;", 0), 0u);
  // The start code and the end code were each felt as they were read.
  EXPECT_NE(run.err.find("the device vibrated 2 times"), std::string::npos) << run.err;
}

TEST_F(DemoProgram, StrictUploadsTurnAWrongKeyIntoAFailedRun) {
  // The server refuses the key with 401 and an error object: a lenient run reports it stored, a
  // strict one shows the failure alert, whose last answer (try later) the autopilot takes.
  const std::vector<std::pair<QStringList, int>> cases = {{{}, 200}, {{"--strict-uploads"}, 406}};
  for (const auto& [flags, status] : cases) {
    const Finished run = autopilot(
        QStringList{"--tests", "charging_v1", "--serial", "S1", "--hide-start-screen"} + flags,
        "wrong-key");
    const Dictionary response = Dictionary::parse(run.out, nullptr, false);
    ASSERT_TRUE(response.is_object()) << run.out << run.err;
    EXPECT_EQ(response.value("status_code", 0), status);
    EXPECT_EQ(run.exitCode, status == 200 ? 0 : 1);
  }
}

TEST_F(DemoProgram, BadFlagsExplainAndExitWithTwo) {
  const std::vector<std::pair<QStringList, std::string>> cases = {
      {{"--language", "fr"}, "--language must be en or pt"},
      {{"--assets-host", "ftp://x"}, "--assets-host must be an http:// or https:// URL"},
      {{"--app-id"}, "--app-id needs a value"},
      {{"--frobnicate"}, "unknown option \"--frobnicate\""},
      // A screen the build lacks and a film without a camera end at once, saying why.
      {{"--screen", "device_front_video_v3"}, "no test screen \"device_front_video_v3\""},
      {{"--screen", "device_front_video_v2"}, "has no camera"},
      // Without a display only the unattended run can work.
      {{}, "no display; use --autopilot"}};
  for (const auto& [arguments, reason] : cases) {
    const Finished run = runDemo(arguments, !arguments.isEmpty());
    EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
    EXPECT_NE(run.err.find(reason), std::string::npos)
        << arguments.join(' ').toStdString() << run.err;
  }
}

// Loudness every 50 ms.
std::vector<double> envelope(const std::vector<std::int16_t>& samples, int rate) {
  std::vector<double> levels;
  for (double at = 0; at + 0.05 <= static_cast<double>(samples.size()) / rate; at += 0.05) {
    levels.push_back(loudness(samples, rate, at, at + 0.05));
  }
  return levels;
}

// How well b follows a (Pearson) at the best shift of b's start within half a second.
double followsBest(const std::vector<double>& a, const std::vector<double>& b) {
  double best = -1;
  for (std::size_t shift = 0; shift <= 10 && shift < b.size(); ++shift) {
    const std::size_t n = std::min(a.size(), b.size() - shift);
    double ma = 0, mb = 0;
    for (std::size_t i = 0; i < n; ++i) ma += a[i], mb += b[i + shift];
    ma /= n, mb /= n;
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t i = 0; i < n; ++i) {
      ab += (a[i] - ma) * (b[i + shift] - mb);
      aa += (a[i] - ma) * (a[i] - ma);
      bb += (b[i + shift] - mb) * (b[i + shift] - mb);
    }
    if (aa > 0 && bb > 0) best = std::max(best, ab / std::sqrt(aa * bb));
  }
  return best;
}

TEST_F(DemoProgram, SoundScreensPassAloneWithRealSoundInBothLanguages) {
  const auto clip = VirtualSpeaker::assetSamples("testfile");
  ASSERT_TRUE(clip);
  for (const char* language : {"en", "pt"}) {
    const auto& words =
        language == std::string("en")
            ? std::vector<std::string>{"computer", "dog", "paper", "purple", "table"}
            : std::vector<std::string>{"cadeira", "computador", "livro", "mesa", "telefone"};
    for (const char* key :
         {"loudspeaker_v1", "earspeaker_v1", "speaker_recording_v1", "read_text_v1"}) {
      const QString shots =
          QString::fromStdString((tree.path() / (std::string(key) + language)).string());
      const Finished run =
          autopilot({"--screen", key, "--language", language, "--screenshots", shots});
      ASSERT_EQ(run.exitCode, 0) << key << " " << language << "\n" << run.err;
      const Dictionary result = Dictionary::parse(run.out);
      ASSERT_EQ(result["success"], true) << result.dump();
      const std::string heardOrShown = result.value("audio_word", result.value("text", ""));
      if (!heardOrShown.empty()) {
        EXPECT_NE(std::find(words.begin(), words.end(), heardOrShown), words.end()) << key;
      }
      if (result.contains("audio_word")) {
        EXPECT_EQ(result["input_word"], heardOrShown);
        // The autopilot's slip (the plural) was refused with the alert before the word passed.
        EXPECT_FALSE(QDir(shots).entryList({"*-Alert.png"}).isEmpty()) << key << " no alert";
      }
      if (!result.contains("url")) continue;
      const std::string recording = stored(result["url"]).string();
      // A real recording: AAC, 12,000 Hz, one channel, of what was played or said.
      const auto movie = probeMovie(recording);
      ASSERT_TRUE(movie && movie->first("aac")) << key;
      EXPECT_EQ(movie->first("aac")->sampleRate, 12000);
      const auto heard = SoundDecoder::decodeFile(recording, 12000);
      ASSERT_TRUE(heard);
      if (std::string(key) == "speaker_recording_v1") {
        const double expected = static_cast<double>(clip->size()) / VirtualRoom::kSampleRate;
        EXPECT_NEAR(movie->first("aac")->seconds, expected, expected * 0.1);
        const auto played = SoundDecoder::decodeFile(recording, VirtualRoom::kSampleRate);
        EXPECT_GT(followsBest(envelope(*clip, VirtualRoom::kSampleRate),
                              envelope(*played, VirtualRoom::kSampleRate)),
                  0.8)
            << "the recording does not follow the clip";
      } else {
        const auto levels = envelope(*heard, 12000);
        EXPECT_GT(*std::max_element(levels.begin(), levels.end()), 0.05) << "a silent recording";
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
