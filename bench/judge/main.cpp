// Measures the assets server's evidence judges against their goal:
// - a front-video film judged at least ten times faster than it lasts, on one core: a camera-like
//   film (the screen over a room, turned, blurred, noisy; 720 x 1280 at 30 frames/s, 9 s) written
//   with the SDK's own encoders, judged N times on this thread, wall and CPU time against the
//   film's length.
// - uploads' throughput while films are judged beside them, against the same uploads with judging
//   off: quorvel-assets-server's library in this process, fed by `curl -F`, with a queue of
//   results documents pointing at the film (goal: at least 0.9 of the throughput without judging).
// Exits non-zero when a judgement is not a pass, or when no film was judged during the uploads.
//
//   quorvel-bench-judge [--rounds N]

#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "AssetsServer.h"
#include "EvidenceJudges.h"
#include "ResultsSeal.h"
#include "support/ChildProcess.h"
#include "support/EvidenceMedia.h"
#include "support/TemporaryTree.h"

namespace {

using namespace quorvel;
using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "quorvel-bench-judge: %s\n", message.c_str());
  std::exit(1);
}

double threadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::string stamp(double seconds) {
  // 2026-11-26T10:15:20.000+0000 and on.
  return testing::timestampText(1795688120000 + static_cast<std::int64_t>(seconds * 1000));
}

// The camera-like film, written once, and the result that names its codes.
struct Film {
  std::filesystem::path path;
  nlohmann::json result;
  double seconds = 0;
};

const Film& cameraFilm(const testing::TemporaryTree& tree) {
  static const Film film = [&] {
    testing::FilmScript script;
    script.width = 720;
    script.height = 1280;
    script.framesPerSecond = 30;
    script.camera = true;
    script.lead = 2.0;
    script.startCode = "start;imei=356938035643809;" + stamp(script.lead);
    script.endCode = "end;imei=356938035643809;" + stamp(script.lead + script.startShown + 5);
    const nlohmann::json result = {{"success", true},
                                   {"timestamp", stamp(testing::filmSeconds(script) + 0.3)},
                                   {"version", "2"},
                                   {"start_qr_code", script.startCode},
                                   {"end_qr_code", script.endCode}};
    const auto path = tree.path() / "front-video.mov";
    std::string error;
    const auto writing = Clock::now();
    if (!testing::writeFilm(path.string(), script, error)) fail("cannot write the film: " + error);
    const double writingSeconds = std::chrono::duration<double>(Clock::now() - writing).count();
    const double megabits = static_cast<double>(std::filesystem::file_size(path)) * 8 / 1e6;
    std::printf("film: %dx%d, %.0f frames/s, %.1f s, %.1f Mbit/s (written in %.1f s)\n",
                script.width, script.height, script.framesPerSecond, testing::filmSeconds(script),
                megabits / testing::filmSeconds(script), writingSeconds);
    if (const char* keep = std::getenv("QUORVEL_BENCH_KEEP_FILM")) {
      std::filesystem::copy_file(path, keep, std::filesystem::copy_options::overwrite_existing);
    }
    return Film{path, result, testing::filmSeconds(script)};
  }();
  return film;
}

// Film length, judging time and their ratio; false when a verdict was not a pass.
bool filmJudging(const testing::TemporaryTree& tree, int rounds) {
  const auto& [path, result, seconds] = cameraFilm(tree);
  bool passed = true;
  double bestWall = 1e9, bestCpu = 1e9;
  for (int round = 0; round < rounds; ++round) {
    const auto start = Clock::now();
    const double cpuStart = threadCpuSeconds();
    const Verdict verdict = EvidenceJudges::judge("device_front_video", result, path);
    const double cpu = threadCpuSeconds() - cpuStart;
    const double wall = std::chrono::duration<double>(Clock::now() - start).count();
    bestWall = std::min(bestWall, wall);
    bestCpu = std::min(bestCpu, cpu);
    std::printf("round %d: %s%s%s, wall %.3f s, CPU %.3f s, details %s\n", round + 1,
                verdict.verdict.c_str(), verdict.why.empty() ? "" : ": ", verdict.why.c_str(), wall,
                cpu, verdict.details.dump().c_str());
    passed = passed && verdict.verdict == Verdict::kPass;
  }
  std::printf(
      "film judging: best wall %.3f s, best CPU %.3f s: %.1fx real time on one core "
      "(goal >= 10x)\n",
      bestWall, bestCpu, seconds / bestCpu);
  return passed;
}

constexpr const char* kKey = "bench-key";
constexpr const char* kApp = "bench";

// `curl -F` of a file under a file name to the server; its JSON answer.
nlohmann::json curlUpload(const std::filesystem::path& file, const std::string& name,
                          const std::string& origin, const std::filesystem::path& answer) {
  testing::ChildProcess curl({"curl", "-sS", "--fail", "-o", answer.string(), "-H",
                              std::string("Authorization: Bearer ") + kKey, "-F",
                              "content=@" + file.string() + ";filename=" + name,
                              origin + "/v3/applications/" + kApp + "/asset-upload"});
  if (!curl.started() || curl.wait() != 0) fail("curl -F " + name + " failed");
  std::ifstream in(answer);
  return nlohmann::json::parse(in, nullptr, false);
}

// How many of the app's runs still wait for their film's verdict.
int pendingFilms(const std::string& origin, const std::filesystem::path& answer) {
  testing::ChildProcess curl({"curl", "-sS", "--fail", "-o", answer.string(), "-H",
                              std::string("Authorization: Bearer ") + kKey,
                              origin + "/v3/applications/" + kApp + "/runs?limit=200"});
  if (!curl.started() || curl.wait() != 0) fail("cannot list the runs");
  std::ifstream in(answer);
  const nlohmann::json page = nlohmann::json::parse(in, nullptr, false);
  int pending = 0;
  for (const auto& run : page.value("runs", nlohmann::json::array())) {
    pending += run["verdicts"]["device_front_video"]["verdict"] == Verdict::kPending;
  }
  return pending;
}

// Megabytes a second of `rounds` uploads of a large file, with the server judging a queue of films
// (or not); *judged: how many films it judged meanwhile.
double uploadRate(const testing::TemporaryTree& tree, bool judging, int rounds, int* judged) {
  const auto work = tree.path() / (judging ? "with" : "without");
  AssetsServer::Options options{.storage = work / "storage", .apiKeys = {kKey}};
  if (judging) options.judge = EvidenceJudges::judge;
  AssetsServer server(options);
  server.start();
  const auto answer = work / "answer.json";
  const Film& film = cameraFilm(tree);
  const nlohmann::json stored =
      curlUpload(film.path, "rendered-Video.mov", server.address(), answer);
  nlohmann::json result = film.result;
  result["url"] = stored.value("url", "");
  nlohmann::json data = {{"tests_results", {{"device_front_video", result}}}};
  const nlohmann::json document = {{"data", data},
                                   {"sha256", ResultsSeal::sha256Hex(data.dump(), kApp)}};
  const auto documentFile = work / "jsonResults.json";
  std::ofstream(documentFile) << document.dump();
  // More films than the uploads below last: the judges stay busy throughout.
  for (int i = 0; i < 40; ++i)
    curlUpload(documentFile, "jsonResults.json", server.address(), answer);
  const auto big = tree.path() / "upload.bin";
  const int before = pendingFilms(server.address(), answer);
  const auto start = Clock::now();
  for (int round = 0; round < rounds; ++round) {
    curlUpload(big, "upload.bin", server.address(), answer);
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  *judged = before - pendingFilms(server.address(), answer);
  server.stop();
  std::filesystem::remove_all(work);
  return static_cast<double>(rounds) * static_cast<double>(std::filesystem::file_size(big)) / 1e6 /
         seconds;
}

// Uploads' throughput with and without judging beside them, alternately, best of each.
bool uploadsWhileJudging(const testing::TemporaryTree& tree, int rounds) {
  // 64 MiB each: a few seconds in all, so that several films are judged meanwhile.
  constexpr int kUploads = 24;
  {
    std::ofstream big(tree.path() / "upload.bin", std::ios::binary);
    std::mt19937_64 random(7);
    std::vector<std::uint64_t> block(1 << 17);
    for (int i = 0; i < 64; ++i) {  // 64 MiB
      for (auto& word : block) word = random();
      big.write(reinterpret_cast<const char*>(block.data()),
                static_cast<std::streamsize>(block.size() * sizeof(block[0])));
    }
  }
  double with = 0, without = 0;
  int judged = 0;
  for (int round = 0; round < rounds; ++round) {
    int none = 0, some = 0;
    // Each goes first in turn, so that neither always meets a warmer disk cache.
    if (round % 2 == 0) without = std::max(without, uploadRate(tree, false, kUploads, &none));
    with = std::max(with, uploadRate(tree, true, kUploads, &some));
    if (round % 2 == 1) without = std::max(without, uploadRate(tree, false, kUploads, &none));
    std::printf("round %d: without judging %.1f MB/s, with %.1f MB/s (%d films judged meanwhile)\n",
                round + 1, without, with, some);
    judged = std::max(judged, some);
  }
  std::printf("uploads while judging: %.2f of the throughput without (goal >= 0.9)\n",
              with / without);
  return judged > 0;
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else {
      fail(std::string("unknown argument ") + argv[i] + " (usage: [--rounds N])");
    }
  }
  const testing::TemporaryTree tree("quorvel-bench-judge");
  // Each measurement prints its own lines.
  const std::vector<std::pair<const char*, std::function<bool()>>> measurements = {
      {"film judging", [&] { return filmJudging(tree, rounds); }},
      {"uploads while judging", [&] { return uploadsWhileJudging(tree, rounds); }},
  };
  bool passed = true;
  for (const auto& [name, measure] : measurements) {
    std::printf("== %s\n", name);
    if (!measure()) {
      std::fprintf(stderr, "quorvel-bench-judge: %s: not judged as it should be\n", name);
      passed = false;
    }
  }
  return passed ? 0 : 1;
}
