// What every MediaExport must do, the FFmpeg exporter and the test platform's alike: one
// completion per export, on any thread; the MP4 in place on success, replacing an older one; on
// failure a reason and no file; no thumbnail of a movie that is not there. Then what FFmpeg's adds.
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "media/IsoMediaExport.h"
#include "platform/contracts/Implementation.h"
#include "support/MovieProbe.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

namespace fs = std::filesystem;

struct Exported {
  std::optional<std::string> error;
  std::thread::id thread;
};

// Exports and waits for every completion that comes within the wait.
std::vector<Exported> exportMP4(MediaExport& exporter, const fs::path& movie, const fs::path& mp4) {
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Exported> outcomes;
  };
  auto state = std::make_shared<State>();
  exporter.exportMP4(movie.string(), mp4.string(), [state](std::optional<std::string> error) {
    std::lock_guard lock(state->mutex);
    state->outcomes.push_back({std::move(error), std::this_thread::get_id()});
    state->changed.notify_all();
  });
  std::unique_lock lock(state->mutex);
  state->changed.wait_for(lock, std::chrono::seconds(30), [&] { return !state->outcomes.empty(); });
  // A second completion would come right after the first.
  state->changed.wait_for(lock, std::chrono::milliseconds(100),
                          [&] { return state->outcomes.size() > 1; });
  return state->outcomes;
}

using MediaExportImplementation = Implementation<MediaExport>;

class MediaExportContract : public ::testing::TestWithParam<MediaExportImplementation> {
 protected:
  std::unique_ptr<MediaExport> exporter = GetParam().make();
  TemporaryTree tree{"quorvel-export-contract"};
};

TEST_P(MediaExportContract, ExportsOnceReplacingTheOlderFileAndFailsWithoutLeavingOne) {
  const fs::path movie = tree.path() / "output.mov";
  ASSERT_TRUE(makeMovie(movie.string(), 1, false));
  const fs::path mp4 = tree.path() / "rendered-Video.mp4";
  tree.write("rendered-Video.mp4", "an older export");
  auto outcomes = exportMP4(*exporter, movie, mp4);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_EQ(outcomes[0].error, std::nullopt);
  EXPECT_GT(fs::file_size(mp4), std::string("an older export").size());
  EXPECT_TRUE(exporter->thumbnail(movie).has_value());

  // No movie, or nowhere to write: a reason, once, and no file.
  fs::remove(mp4);
  for (const auto& [from, to] :
       {std::pair{tree.path() / "absent.mov", mp4}, {movie, tree.path() / "missing" / "out.mp4"}}) {
    outcomes = exportMP4(*exporter, from, to);
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].error.has_value());
    EXPECT_FALSE(fs::exists(to));
  }
  EXPECT_FALSE(exporter->thumbnail((tree.path() / "absent.mov").string()).has_value());
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, MediaExportContract,
    ::testing::Values(MediaExportImplementation{"Iso",
                                                [] { return std::make_unique<IsoMediaExport>(); }},
                      MediaExportImplementation{
                          "Scripted", [] { return std::make_unique<ScriptedMediaExport>(); }}),
    nameOfImplementation);

std::size_t threadCount() {
  auto tasks = fs::directory_iterator("/proc/self/task");
  return static_cast<std::size_t>(std::distance(fs::begin(tasks), fs::end(tasks)));
}

class IsoMediaExportTest : public ::testing::Test {
 protected:
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
    auto outcomes = exportMP4(exporter, from, mp4);
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].error, std::nullopt);
    EXPECT_NE(outcomes[0].thread, std::this_thread::get_id());
    EXPECT_FALSE(fs::exists(mp4.string() + ".part"));

    const auto source = probeMovie(from.string());
    const auto copy = probeMovie(mp4.string());
    ASSERT_TRUE(source && copy);
    EXPECT_EQ(copy->brand, "isom");
    EXPECT_NE(fileContents(mp4).substr(0, 64).find("moov"), std::string::npos) << "index not first";
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

TEST_F(IsoMediaExportTest, ThumbnailIsTheFirstFrameUprightAndAtMost640WideAndNoneOfWhatIsNoMovie) {
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

  // Small pictures keep their size (the export test's 320 wide stills). A file that is there but
  // is not a movie has no thumbnail and exports nothing, saying why (the contract's failures are a
  // missing movie and nowhere to write).
  tree.write("garbage.mov", std::string(4096, 'x'));
  EXPECT_FALSE(exporter.thumbnail((tree.path() / "garbage.mov").string()));
  const fs::path mp4 = tree.path() / "out.mp4";
  auto outcomes = exportMP4(exporter, tree.path() / "garbage.mov", mp4);
  ASSERT_EQ(outcomes.size(), 1u);
  EXPECT_NE(outcomes[0].error.value_or("").find("not a movie"), std::string::npos);
  EXPECT_FALSE(fs::exists(mp4));
}

}  // namespace
}  // namespace quorvel::testing
