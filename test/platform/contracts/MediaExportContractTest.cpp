// What every MediaExport must do, the FFmpeg exporter and the test platform's alike: one
// completion per export, on any thread; the MP4 in place on success, replacing an older one; on
// failure a reason and no file; no thumbnail of a movie that is not there.
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

#include "media/IsoMediaExport.h"
#include "platform/contracts/Implementation.h"
#include "support/MovieProbe.h"
#include "support/ScriptedMedia.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

namespace fs = std::filesystem;

using MediaExportImplementation = Implementation<MediaExport>;

class MediaExportContract : public ::testing::TestWithParam<MediaExportImplementation> {
 protected:
  // Exports and waits for every completion that comes within the wait.
  std::vector<std::optional<std::string>> exportMP4(const fs::path& movie, const fs::path& mp4) {
    auto state = std::make_shared<State>();
    exporter->exportMP4(movie.string(), mp4.string(), [state](std::optional<std::string> error) {
      std::lock_guard lock(state->mutex);
      state->outcomes.push_back(std::move(error));
      state->changed.notify_all();
    });
    std::unique_lock lock(state->mutex);
    state->changed.wait_for(lock, std::chrono::seconds(30),
                            [&] { return !state->outcomes.empty(); });
    // A second completion would come right after the first.
    state->changed.wait_for(lock, std::chrono::milliseconds(100),
                            [&] { return state->outcomes.size() > 1; });
    return state->outcomes;
  }

  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::optional<std::string>> outcomes;
  };

  std::unique_ptr<MediaExport> exporter = GetParam().make();
  TemporaryTree tree{"quorvel-export-contract"};
};

TEST_P(MediaExportContract, ExportsOnceReplacingTheOlderFileAndFailsWithoutLeavingOne) {
  const fs::path movie = tree.path() / "output.mov";
  ASSERT_TRUE(makeMovie(movie.string(), 1, false));
  const fs::path mp4 = tree.path() / "rendered-Video.mp4";
  tree.write("rendered-Video.mp4", "an older export");
  auto outcomes = exportMP4(movie, mp4);
  EXPECT_EQ(outcomes, decltype(outcomes){std::nullopt});
  EXPECT_GT(fs::file_size(mp4), std::string("an older export").size());
  EXPECT_TRUE(exporter->thumbnail(movie).has_value());

  // No movie, or nowhere to write: a reason, once, and no file.
  fs::remove(mp4);
  for (const auto& [from, to] :
       {std::pair{tree.path() / "absent.mov", mp4}, {movie, tree.path() / "missing" / "out.mp4"}}) {
    outcomes = exportMP4(from, to);
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].has_value());
    EXPECT_FALSE(fs::exists(to));
  }
  EXPECT_FALSE(exporter->thumbnail((tree.path() / "absent.mov").string()).has_value());
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, MediaExportContract,
    ::testing::Values(
        MediaExportImplementation{"Iso", [] { return std::make_unique<IsoMediaExport>(); }},
        MediaExportImplementation{"Scripted",
                                  [] { return std::make_unique<ScriptedMediaExport>(); }}),
    nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
