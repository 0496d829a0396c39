#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "media/FfmpegMediaExport.h"
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
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/task")) ++count;
  return count;
}

class FfmpegMediaExportTest : public ::testing::Test {
 protected:
  struct Outcome {
    std::optional<std::string> error;
    std::thread::id thread;
  };

  // Exports and waits for the completion.
  Outcome exportMP4(const fs::path& movie, const fs::path& mp4) {
    std::mutex mutex;
    std::condition_variable done;
    std::optional<Outcome> outcome;
    exporter.exportMP4(movie.string(), mp4.string(), [&](std::optional<std::string> error) {
      std::lock_guard lock(mutex);
      outcome = Outcome{std::move(error), std::this_thread::get_id()};
      done.notify_all();
    });
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return outcome.has_value(); });
    return *outcome;
  }

  // A movie made by the ffmpeg program from its test sources, with extra arguments.
  fs::path makeMovie(const std::string& name, const std::string& arguments) {
    fs::path path = tree.path() / name;
    EXPECT_TRUE(testing::makeMovie(path.string(), 2, true, arguments));
    return path;
  }

  FfmpegMediaExport exporter;
  TemporaryTree tree{"quorvel-export"};
};

TEST_F(FfmpegMediaExportTest, WritesWhatFfmpegCopyWritesByteForByteOnAThreadThatThenEnds) {
  // With B-frames (timestamps before zero) and a turned picture (the display matrix).
  const fs::path movies[] = {makeMovie("plain.mov", ""),
                             makeMovie("turned.mov", "-bf 2 -metadata:s:v:0 rotate=90")};
  for (const fs::path& movie : movies) {
    SCOPED_TRACE(movie.filename().string());
    const fs::path reference = tree.path() / "reference.mp4";
    ASSERT_TRUE(shell("ffmpeg -v error -i " + movie.string() + " -c copy -movflags +faststart -y " +
                      reference.string()));
    const fs::path mp4 = tree.path() / "rendered-Video.mp4";
    tree.write("rendered-Video.mp4", "an older export");  // replaced
    const std::size_t threads = threadCount();
    Outcome outcome = exportMP4(movie, mp4);
    EXPECT_EQ(outcome.error, std::nullopt);
    EXPECT_NE(outcome.thread, std::this_thread::get_id());
    const std::string written = contents(mp4);
    EXPECT_TRUE(written == contents(reference))
        << written.size() << " bytes, ffmpeg wrote " << fs::file_size(reference);
    EXPECT_FALSE(fs::exists(mp4.string() + ".partial"));
    for (int i = 0; i < 500 && threadCount() > threads; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(threadCount(), threads) << "the export's thread outlived it";
  }
}

// What every exporter does on failure is the contract's (MediaExportContract); here, the reasons.
TEST_F(FfmpegMediaExportTest, SaysWhyItFailed) {
  const fs::path mp4 = tree.path() / "out.mp4";
  Outcome missing = exportMP4(tree.path() / "absent.mov", mp4);
  ASSERT_TRUE(missing.error);
  EXPECT_NE(missing.error->find("no movie"), std::string::npos) << *missing.error;

  tree.write("garbage.mov", std::string(4096, 'x'));
  Outcome garbage = exportMP4(tree.path() / "garbage.mov", mp4);
  ASSERT_TRUE(garbage.error);
  EXPECT_NE(garbage.error->find("not a movie"), std::string::npos) << *garbage.error;
  EXPECT_FALSE(fs::exists(mp4));

  const fs::path nowhere = tree.path() / "missing" / "out.mp4";
  Outcome unwritable = exportMP4(makeMovie("good.mov", ""), nowhere);
  ASSERT_TRUE(unwritable.error);
  EXPECT_EQ(unwritable.error->find("cannot write " + nowhere.string() + ": "), 0u)
      << *unwritable.error;
}

TEST_F(FfmpegMediaExportTest, ThumbnailIsTheFirstFrameUprightAndAtMost640Wide) {
  // A 1280x720 first frame red in its top-left quarter. ffmpeg itself shows the turned copy
  // (rotation 90 in its display matrix) with that quarter bottom left.
  const fs::path movie = tree.path() / "quarters.mov";
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i color=blue:size=1280x720:rate=15:duration=1 -vf "
            "\"drawbox=x=0:y=0:w=640:h=360:color=red:t=fill\" -c:v libx264 -y " +
            movie.string()));
  const fs::path turned = tree.path() / "turned.mov";
  ASSERT_TRUE(shell("ffmpeg -v error -i " + movie.string() +
                    " -c copy -metadata:s:v:0 rotate=90 -y " + turned.string()));

  auto upright = exporter.thumbnail(movie.string());
  ASSERT_TRUE(upright);
  EXPECT_EQ(upright->kind, Image::Kind::encoded);
  auto picture = decodeStill(upright->bytes);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 640);
  EXPECT_EQ(picture->height, 360);
  EXPECT_TRUE(similarColour(picture->at(100, 60), 0xFF0000));
  EXPECT_TRUE(similarColour(picture->at(540, 300), 0x0000FF));

  auto sideways = decodeStill(exporter.thumbnail(turned.string()).value_or(Image{}).bytes);
  ASSERT_TRUE(sideways);
  EXPECT_EQ(sideways->width, 360);
  EXPECT_EQ(sideways->height, 640);
  EXPECT_TRUE(similarColour(sideways->at(60, 540), 0xFF0000));
  EXPECT_TRUE(similarColour(sideways->at(300, 100), 0x0000FF));

  // Small pictures keep their size; what is not a movie has no thumbnail.
  auto small = decodeStill(exporter.thumbnail(makeMovie("small.mov", "").string())->bytes);
  ASSERT_TRUE(small);
  EXPECT_EQ(small->width, 320);
  tree.write("garbage.mov", std::string(4096, 'x'));
  EXPECT_FALSE(exporter.thumbnail((tree.path() / "garbage.mov").string()));
  EXPECT_FALSE(exporter.thumbnail((tree.path() / "absent.mov").string()));
}

}  // namespace
}  // namespace quorvel::testing
