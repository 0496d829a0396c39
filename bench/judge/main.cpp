// Measures the assets server's evidence judges against their goal:
// - a front-video film judged at least ten times faster than it lasts, on one core: a camera-like
//   film (the screen over a room, turned, blurred, noisy; 720 x 1280 at 30 frames/s, 9 s) written
//   with the SDK's own encoders, judged N times on this thread, wall and CPU time against the
//   film's length.
// Exits non-zero when a judgement is not a pass.
//
//   quorvel-bench-judge [--rounds N]

#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "EvidenceJudges.h"
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

// Film length, judging time and their ratio; false when a verdict was not a pass.
bool filmJudging(const testing::TemporaryTree& tree, int rounds) {
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
  std::printf("film: %dx%d, %.0f frames/s, %.1f s, %.1f Mbit/s (written in %.1f s)\n", script.width,
              script.height, script.framesPerSecond, testing::filmSeconds(script),
              megabits / testing::filmSeconds(script), writingSeconds);
  if (const char* keep = std::getenv("QUORVEL_BENCH_KEEP_FILM")) {
    std::filesystem::copy_file(path, keep, std::filesystem::copy_options::overwrite_existing);
  }
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
  const double seconds = testing::filmSeconds(script);
  std::printf(
      "film judging: best wall %.3f s, best CPU %.3f s: %.1fx real time on one core "
      "(goal >= 10x)\n",
      bestWall, bestCpu, seconds / bestCpu);
  return passed;
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
  // Each measurement prints its own lines; a new one (upload throughput with judging beside)
  // goes into this list.
  const std::vector<std::pair<const char*, std::function<bool()>>> measurements = {
      {"film judging", [&] { return filmJudging(tree, rounds); }},
  };
  bool passed = true;
  for (const auto& [name, measure] : measurements) {
    std::printf("== %s\n", name);
    if (!measure()) {
      std::fprintf(stderr, "quorvel-bench-judge: %s: a verdict was not a pass\n", name);
      passed = false;
    }
  }
  return passed ? 0 : 1;
}
