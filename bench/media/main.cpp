// Measures the media adapters against their goals and against the ffmpeg program:
// - QR frames read per second at 1280x720 grey on one core;
// - exportMP4 of a 30-second 720p movie against `ffmpeg -i in.mov -c copy -movflags +faststart`
//   on the same file, alternately, best of several rounds.
//
//   quorvel-bench-media [--seconds N] [--rounds N]

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>

#include "media/IsoMediaExport.h"
#include "media/QrCodeReader.h"
#include "support/GreyPicture.h"

namespace {

using namespace quorvel;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "quorvel-bench-media: %s\n", message.c_str());
  std::exit(1);
}

double since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void run(const std::string& command) {
  if (std::system(command.c_str()) != 0) fail("failed: " + command);
}

// Frames per second QrCodeReader reads on this thread, alternating a straight and a mirrored
// frame with a start code in it.
double qrFramesPerSecond() {
  testing::GreyPicture straight(1280, 720, 0, 140);
  const std::string code = "QRVL:START:0f8fad5b-d9cb-469f-a165-70867728950e:1709287";
  straight.drawCode(code, 480, 200, 8);
  testing::GreyPicture mirrored = straight;
  mirrored.mirror();
  int frames = 0;
  const auto start = Clock::now();
  while (since(start) < 3) {
    const auto& picture = frames % 2 == 0 ? straight : mirrored;
    auto texts = QrCodeReader::read(picture.pixels.data(), 1280, 720, 1280);
    if (texts.size() != 1 || texts[0] != code) fail("the QR reader missed the code");
    ++frames;
  }
  return frames / since(start);
}

double exportSeconds(IsoMediaExport& exporter, const fs::path& movie, const fs::path& mp4) {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  std::optional<std::string> error;
  const auto start = Clock::now();
  exporter.exportMP4(movie.string(), mp4.string(), [&](std::optional<std::string> failure) {
    std::lock_guard lock(mutex);
    finished = true;
    error = std::move(failure);
    done.notify_all();
  });
  std::unique_lock lock(mutex);
  done.wait(lock, [&] { return finished; });
  const double seconds = since(start);
  if (error) fail("exportMP4 failed: " + *error);
  return seconds;
}

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), {});
}

}  // namespace

int main(int argc, char** argv) {
  int movieSeconds = 30;
  int rounds = 5;
  for (int i = 1; i < argc; ++i) {
    const std::string flag = argv[i];
    if (flag == "--seconds" && i + 1 < argc) {
      movieSeconds = std::atoi(argv[++i]);
    } else if (flag == "--rounds" && i + 1 < argc) {
      rounds = std::atoi(argv[++i]);
    } else {
      std::fprintf(stderr, "usage: quorvel-bench-media [--seconds N] [--rounds N]\n");
      return 2;
    }
  }
  if (movieSeconds <= 0 || rounds <= 0) fail("--seconds and --rounds must be positive");

  const double qr = qrFramesPerSecond();
  std::printf("QR reading, 1280x720 grey frames on one core (straight and mirrored)\n");
  std::printf("  frames per second:           %8.1f   (goal >= 60; %.2fx the goal)\n", qr, qr / 60);

  char pattern[] = "/tmp/quorvel-bench-media-XXXXXX";
  if (mkdtemp(pattern) == nullptr) fail("cannot make a work folder");
  const fs::path work = pattern;
  const fs::path movie = work / "output.mov";
  // A camera-like recording: 720p at 30 frames a second with sound.
  run("ffmpeg -v error -f lavfi -i testsrc2=size=1280x720:rate=30 -f lavfi -i "
      "sine=frequency=440:sample_rate=48000 -t " +
      std::to_string(movieSeconds) + " -c:v libx264 -preset ultrafast -b:v 6M -c:a aac -y " +
      movie.string());

  IsoMediaExport exporter;
  const fs::path ours = work / "ours.mp4";
  const fs::path theirs = work / "theirs.mp4";
  double bestOurs = 1e9, bestTheirs = 1e9;
  for (int round = 0; round < rounds; ++round) {
    bestOurs = std::min(bestOurs, exportSeconds(exporter, movie, ours));
    const auto start = Clock::now();
    run("ffmpeg -v error -i " + movie.string() + " -c copy -movflags +faststart -y " +
        theirs.string());
    bestTheirs = std::min(bestTheirs, since(start));
  }
  // The same samples at the same moments: each packet's times, size and key flag, per stream.
  const auto packets = [&](const fs::path& file) {
    const fs::path list = work / (file.stem().string() + ".packets");
    run("ffprobe -v error -show_entries packet=stream_index,pts,dts,size,flags -of csv " +
        file.string() + " > " + list.string());
    return contents(list);
  };
  const bool identical = packets(ours) == packets(theirs);
  const double megabytes = static_cast<double>(fs::file_size(movie)) / 1e6;
  fs::remove_all(work);

  std::printf("MP4 export of a %d s 720p movie (%.1f MB), best of %d rounds\n", movieSeconds,
              megabytes, rounds);
  std::printf("  exportMP4:                   %8.3f s\n", bestOurs);
  std::printf("  ffmpeg -c copy (reference):  %8.3f s\n", bestTheirs);
  std::printf("  speed-up over ffmpeg:        %8.2fx  (goal >= 1.5)\n", bestTheirs / bestOurs);
  std::printf("  same packets as ffmpeg's:    %8s\n", identical ? "yes" : "NO");

  // The mirror camera needs Qt, so it is measured by its own program, run from here so that one
  // run prints every figure.
  const std::string mirror = QUORVEL_MIRROR_BENCH_PROGRAM;
  if (mirror.empty()) {
    std::printf("Mirror camera: not measured (this build has no Qt front end)\n");
  } else {
    std::fflush(stdout);
    if (std::system(mirror.c_str()) != 0) return 1;
  }
  return identical ? 0 : 1;
}
