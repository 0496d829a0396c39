// Measures a whole default run's footprint against its floor, in one run on this machine:
// `quorvel-demo --autopilot` (start, IMEI, the combined test, multi-touch, the filmed video test,
// the upload of the results) against a local quorvel-assets-server, beside a bare Qt Quick window
// shown by Qt's own `qml` tool until its first frame. For each: wall time, CPU seconds and peak
// resident memory (the kernel's own peak for the process), and the ratio of the peaks; what Qt's
// own stack costs for the parts the SDK uses (Controls, SVG, a sound through Qt Multimedia); where
// the run's memory goes at its peak: heap, other anonymous memory, and the pages of the libraries
// it maps, by family.
//
//   quorvel-bench-footprint [--rounds N]

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using quorvel::testing::ChildProcess;
using Clock = std::chrono::steady_clock;

constexpr double kGoal = 2.0;
constexpr double kStretchGoal = 1.5;

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "quorvel-bench-footprint: %s\n", message.c_str());
  std::exit(1);
}

struct Footprint {
  double wallSeconds = 0;
  double cpuSeconds = 0;
  double peakMB = 0;
  // Resident kilobytes by where they are mapped from, read when the process was at its largest.
  std::map<std::string, long> atPeak;
};

// Resident kilobytes of every mapping of pid, by the mapping's file or kind.
std::map<std::string, long> residentByMapping(pid_t pid) {
  std::ifstream smaps("/proc/" + std::to_string(pid) + "/smaps");
  std::map<std::string, long> resident;
  static const std::regex header(R"(^[0-9a-f]+-[0-9a-f]+ \S+ \S+ \S+ \S+\s*(.*)$)");
  std::string line, name;
  std::smatch match;
  while (std::getline(smaps, line)) {
    if (std::regex_match(line, match, header)) {
      name = match[1].str().empty() ? "[anonymous]" : match[1].str();
    } else if (line.rfind("Rss:", 0) == 0) {
      resident[name] += std::atol(line.c_str() + 4);
    }
  }
  return resident;
}

long residentNow(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  return 0;
}

// Runs command with extra environment variables, to its end; output goes to logPath.
Footprint measure(const std::vector<std::string>& command,
                  const std::vector<std::string>& environment, const fs::path& logPath) {
  std::vector<std::string> variables = environment;
  for (char** each = environ; *each; ++each) variables.emplace_back(*each);
  fs::remove(logPath);
  const auto start = Clock::now();
  ChildProcess child(command, {.output = logPath, .environment = variables});
  if (!child.started()) fail("cannot start " + command.front());

  Footprint footprint;
  long largest = 0;
  while (!child.exited()) {
    if (const long now = residentNow(child.pid()); now > largest) {
      largest = now;
      footprint.atPeak = residentByMapping(child.pid());
    }
    if (Clock::now() - start > std::chrono::minutes(5)) {
      child.stop();
      fail(command.front() + " did not end within five minutes; see " + logPath.string());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  footprint.wallSeconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (const int code = child.wait(); code != 0) {
    fail(command.front() + " failed (exit " + std::to_string(code) + "); see " + logPath.string());
  }
  const rusage& usage = child.usage();
  footprint.cpuSeconds = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
  footprint.peakMB = static_cast<double>(usage.ru_maxrss) / 1024.0;  // the kernel's own peak
  return footprint;
}

// The family a mapping belongs to, for the breakdown.
std::string family(const std::string& mapping) {
  const std::string name = fs::path(mapping).filename().string();
  if (mapping == "[heap]") return "heap (malloc)";
  if (mapping == "[anonymous]") return "other anonymous memory (threads' stacks, arenas, caches)";
  if (mapping.rfind("/memfd:", 0) == 0 && mapping.find("Qml") != std::string::npos) {
    return "QML engine's own memory";
  }
  if (mapping.front() == '[' || mapping.rfind("/memfd:", 0) == 0 ||
      mapping.rfind("/dev/", 0) == 0) {
    return "other anonymous memory (threads' stacks, arenas, caches)";
  }
  if (name.rfind("libQt6", 0) == 0 || mapping.find("/qt6/") != std::string::npos) {
    return "Qt libraries and plugins";
  }
  for (const char* media :
       {"libopenh264", "libvo-aacenc", "libfaad", "libjpeg", "libpng", "libZXing"}) {
    if (name.rfind(media, 0) == 0) return "codecs (H.264, AAC, JPEG, PNG) and zxing";
  }
  if (name.rfind("libgst", 0) == 0 || mapping.find("gstreamer") != std::string::npos) {
    return "GStreamer (Qt Multimedia's backend)";
  }
  if (name.rfind("quorvel", 0) == 0) return "the program (the SDK, the front end, the demo)";
  if (name.find(".so") != std::string::npos)
    return "other shared libraries (codecs, TLS, fonts ...)";
  return "files mapped (fonts, caches, locale)";
}

std::string findQml() {
  for (const char* candidate : {"/usr/lib/qt6/bin/qml", "/usr/bin/qml6", "/usr/bin/qml"}) {
    if (::access(candidate, X_OK) == 0) return candidate;
  }
  fail("Qt's qml tool is missing: run scripts/install-deps (package qml-qt6)");
}

// A quorvel-assets-server of its own on a free port; its origin once it listens.
std::string startServer(const fs::path& folder, ChildProcess& server) {
  const fs::path log = folder / "assets-server.log";
  const std::string storage = (folder / "uploads").string();
  fs::create_directories(storage);
  server = ChildProcess({QUORVEL_ASSETS_SERVER_PROGRAM, "--port", "0", "--storage", storage,
                         "--api-key", "bench-key"},
                        {.output = log, .environment = std::nullopt});
  if (!server.started()) fail("cannot start " + std::string(QUORVEL_ASSETS_SERVER_PROGRAM));
  for (int i = 0; i < 100; ++i) {
    std::ifstream text(log);
    std::string line;
    if (std::getline(text, line) && line.rfind("listening on ", 0) == 0) return line.substr(13);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  fail("the assets server did not start; see " + log.string());
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 3;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--rounds" && i + 1 < argc) {
      rounds = std::max(1, std::atoi(argv[++i]));
    } else {
      std::fprintf(stderr, "usage: quorvel-bench-footprint [--rounds N]\n");
      return 2;
    }
  }
  const std::string qml = findQml();
  char pattern[] = "/tmp/quorvel-bench-footprint-XXXXXX";
  if (!mkdtemp(pattern)) fail("cannot make a temporary folder");
  const fs::path folder = pattern;
  std::ofstream(folder / "bare.qml") << "import QtQuick\nimport QtQuick.Window\n"
                                        "Window { id: w; width: 390; height: 844; visible: true\n"
                                        "  onFrameSwapped: Qt.callLater(Qt.quit) }\n";
  // Qt's own stack for the parts the SDK shows and plays: a Basic-style button, text, an SVG
  // image, and a sound through Qt Multimedia, until the sound ends.
  const std::string resources = QUORVEL_RESOURCES_DIR;
  std::ofstream(folder / "stack.qml")
      << "import QtQuick\nimport QtQuick.Window\nimport QtQuick.Controls.Basic\n"
         "import QtMultimedia\n"
         "Window { width: 390; height: 844; visible: true\n"
         "  Column { Text { text: 'Check the screen in a mirror'; font.pixelSize: 20 }\n"
         "    Button { text: 'Next' }\n"
         "    Image { source: 'file://"
      << resources
      << "/images/start_illustration.svg';"
         " width: 300; height: 300 } }\n"
         "  MediaPlayer { id: player; source: 'file://"
      << resources
      << "/sounds/beep.wav'\n"
         "    audioOutput: AudioOutput {}\n"
         "    onPlaybackStateChanged: if (playbackState === MediaPlayer.StoppedState) Qt.quit()\n"
         "    onErrorOccurred: Qt.quit() }\n"
         "  onFrameSwapped: if (player.playbackState !== MediaPlayer.PlayingState) player.play()\n"
         "  Timer { running: true; interval: 10000; onTriggered: Qt.quit() } }\n";
  fs::create_directories(folder / "documents");
  ChildProcess server;
  const std::string host = startServer(folder, server);
  const std::vector<std::string> offscreen = {
      "QT_QPA_PLATFORM=offscreen", "XDG_DOCUMENTS_DIR=" + (folder / "documents").string()};

  // The best of each over the rounds, alternately: the machine's other load touches both alike.
  std::optional<Footprint> run, floor, stack;
  for (int round = 0; round < rounds; ++round) {
    Footprint bare = measure({qml, (folder / "bare.qml").string()}, offscreen, folder / "qml.log");
    Footprint whole = measure({QUORVEL_DEMO_PROGRAM, "--autopilot", "--assets-host", host,
                               "--app-id", "bench", "--api-key", "bench-key"},
                              offscreen, folder / "demo.log");
    Footprint qt = measure({qml, (folder / "stack.qml").string()}, offscreen, folder / "stack.log");
    if (!floor || bare.peakMB < floor->peakMB) floor = bare;
    if (!stack || qt.peakMB < stack->peakMB) stack = qt;
    if (!run || whole.peakMB < run->peakMB) run = whole;
  }
  server.stop();

  std::printf("A default autopilot run beside a bare Qt Quick window (qml), best of %d:\n", rounds);
  std::printf("  %-22s %10s %10s %8s\n", "", "run", "floor", "ratio");
  std::printf("  %-22s %9.2fs %9.2fs\n", "wall time", run->wallSeconds, floor->wallSeconds);
  std::printf("  %-22s %9.2fs %9.2fs\n", "CPU time", run->cpuSeconds, floor->cpuSeconds);
  const double ratio = run->peakMB / floor->peakMB;
  std::printf("  %-22s %8.1fMB %8.1fMB %8.2f  (goal <= %.1f; then %.1f)\n", "peak resident",
              run->peakMB, floor->peakMB, ratio, kGoal, kStretchGoal);

  std::printf(
      "  Qt's own stack for what the SDK shows and plays (Controls, SVG, a sound through\n"
      "  Qt Multimedia) peaks at %.1fMB: %.2f floors before the SDK adds anything.\n",
      stack->peakMB, stack->peakMB / floor->peakMB);

  std::map<std::string, long> byFamily, floorFamily;
  for (const auto& [mapping, kb] : run->atPeak) byFamily[family(mapping)] += kb;
  for (const auto& [mapping, kb] : floor->atPeak) floorFamily[family(mapping)] += kb;
  std::vector<std::pair<long, std::string>> ordered;
  for (const auto& [name, kb] : byFamily) ordered.emplace_back(kb, name);
  std::sort(ordered.rbegin(), ordered.rend());
  std::printf("Where the run's memory is at its peak (the floor's beside it):\n");
  for (const auto& [kb, name] : ordered) {
    std::printf("  %7.1f MB %7.1f MB  %s\n", kb / 1024.0, floorFamily[name] / 1024.0, name.c_str());
  }
  std::printf("  %zu mappings in the run, %zu in the floor\n", run->atPeak.size(),
              floor->atPeak.size());
  fs::remove_all(folder);
  return 0;
}
