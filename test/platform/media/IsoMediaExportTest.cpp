// What every exporter does is the contract's (MediaExportContract); here, what FFmpeg's adds.
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <thread>
#include <tuple>

#include "media/IsoMediaExport.h"
#include "support/MovieProbe.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), {});
}

std::size_t threadCount() {
  auto tasks = fs::directory_iterator("/proc/self/task");
  return static_cast<std::size_t>(std::distance(fs::begin(tasks), fs::end(tasks)));
}

class IsoMediaExportTest : public ::testing::Test {
 protected:
  // Exports and waits for the completion; the error and the thread it ran on.
  std::pair<std::optional<std::string>, std::thread::id> exportMP4(const fs::path& movie,
                                                                   const fs::path& mp4) {
    std::mutex mutex;
    std::condition_variable done;
    std::optional<std::pair<std::optional<std::string>, std::thread::id>> outcome;
    exporter.exportMP4(movie.string(), mp4.string(), [&](std::optional<std::string> error) {
      std::lock_guard lock(mutex);
      outcome.emplace(std::move(error), std::this_thread::get_id());
      done.notify_all();
    });
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return outcome.has_value(); });
    return *outcome;
  }

  fs::path movie(const std::string& name, const std::string& arguments = "") {
    fs::path path = tree.path() / name;
    EXPECT_TRUE(makeMovie(path.string(), 2, true, arguments));
    return path;
  }

  IsoMediaExport exporter;
  TemporaryTree tree{"quorvel-export"};
};

TEST_F(IsoMediaExportTest, CopiesEverySampleBehindTheIndexOnAThreadThatThenEnds) {
  // With B-frames (timestamps before zero), and a turned picture (the display matrix).
  const fs::path turned = tree.path() / "turned.mov";
  ASSERT_TRUE(shell("ffmpeg -v error -i " + movie("plain.mov").string() +
                    " -c copy -metadata:s:v:0 rotate=90 -y " + turned.string()));
  for (const fs::path& from :
       {tree.path() / "plain.mov", movie("reordered.mov", "-bf 2"), turned}) {
    SCOPED_TRACE(from.filename().string());
    const fs::path mp4 = tree.path() / "rendered-Video.mp4";
    const std::size_t threads = threadCount();
    auto [error, thread] = exportMP4(from, mp4);
    EXPECT_EQ(error, std::nullopt);
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_FALSE(fs::exists(mp4.string() + ".part"));

    const auto source = probeMovie(from.string());
    const auto copy = probeMovie(mp4.string());
    ASSERT_TRUE(source && copy);
    EXPECT_EQ(copy->brand, "isom");
    EXPECT_NE(contents(mp4).substr(0, 64).find("moov"), std::string::npos) << "index not first";
    ASSERT_EQ(copy->streams.size(), source->streams.size());
    for (std::size_t i = 0; i < source->streams.size(); ++i) {
      EXPECT_EQ(copy->streams[i].codec, source->streams[i].codec);
      EXPECT_EQ(copy->streams[i].packetTimes, source->streams[i].packetTimes);
      EXPECT_EQ(copy->streams[i].sampleRate, source->streams[i].sampleRate);
    }
    EXPECT_EQ(firstPicture(mp4.string())->rgb, firstPicture(from.string())->rgb);
    const auto still = decodeStill(exporter.thumbnail(mp4.string())->bytes);
    ASSERT_TRUE(still);
    EXPECT_EQ(still->width, from == turned ? 240 : 320) << "turned as before";
    for (int i = 0; i < 500 && threadCount() > threads; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(threadCount(), threads) << "the export's thread outlived it";
  }
}

TEST_F(IsoMediaExportTest, SaysWhyItFailed) {
  tree.write("garbage.mov", std::string(4096, 'x'));
  const fs::path mp4 = tree.path() / "out.mp4";
  const fs::path nowhere = tree.path() / "missing" / "out.mp4";
  const std::tuple<fs::path, fs::path, std::string> cases[] = {
      {tree.path() / "absent.mov", mp4, "no movie"},
      {tree.path() / "garbage.mov", mp4, "not a movie"},
      {movie("good.mov"), nowhere, "cannot write " + nowhere.string() + ": "}};
  for (const auto& [from, to, reason] : cases) {
    auto error = exportMP4(from, to).first.value_or("");
    EXPECT_NE(error.find(reason), std::string::npos) << error;
    EXPECT_FALSE(fs::exists(to));
  }
}

TEST_F(IsoMediaExportTest, ThumbnailIsTheFirstFrameUprightAndAtMost640Wide) {
  // A 1280x720 first frame red in its top-left quarter. ffmpeg itself shows the turned copy
  // (rotation 90 in its display matrix) with that quarter bottom left.
  const fs::path quarters = tree.path() / "quarters.mov";
  const fs::path turned = tree.path() / "turned.mov";
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i color=blue:size=1280x720:rate=15:duration=1 -vf "
            "\"drawbox=x=0:y=0:w=640:h=360:color=red:t=fill\" -c:v libx264 -y " +
            quarters.string()));
  ASSERT_TRUE(shell("ffmpeg -v error -i " + quarters.string() +
                    " -c copy -metadata:s:v:0 rotate=90 -y " + turned.string()));
  struct Case {
    fs::path movie;
    int width, height, redX, redY, blueX, blueY;
  };
  for (const Case& c :
       {Case{quarters, 640, 360, 100, 60, 540, 300}, Case{turned, 360, 640, 60, 540, 300, 100}}) {
    auto thumbnail = exporter.thumbnail(c.movie.string());
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->kind, Image::Kind::encoded);
    auto picture = decodeStill(thumbnail->bytes);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, c.width);
    EXPECT_EQ(picture->height, c.height);
    EXPECT_TRUE(similarColour(picture->at(c.redX, c.redY), 0xFF0000));
    EXPECT_TRUE(similarColour(picture->at(c.blueX, c.blueY), 0x0000FF));
  }

  // Small pictures keep their size; what is not a movie has no thumbnail.
  auto small = decodeStill(exporter.thumbnail(movie("small.mov").string())->bytes);
  ASSERT_TRUE(small);
  EXPECT_EQ(small->width, 320);
  tree.write("garbage.mov", std::string(4096, 'x'));
  EXPECT_FALSE(exporter.thumbnail((tree.path() / "garbage.mov").string()));
}

}  // namespace
}  // namespace quorvel::testing
