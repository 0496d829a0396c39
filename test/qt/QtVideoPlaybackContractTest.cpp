#include <QQuickItem>
#include <QTest>

#include "QuickFixture.h"
#include "platform/contracts/VideoPlaybackContract.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "support/MovieProbe.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The front end's movie player in its ready-made offscreen window, in real time.
class QtDriver : public VideoPlaybackDriver {
 public:
  QtDriver() { frontEnd_.show(); }
  VideoPlayback& playback() override { return *frontEnd_.platform().videoPlayback; }
  std::shared_ptr<MainQueue> queue() override { return frontEnd_.platform().mainQueue; }
  std::string movie(int seconds) override {
    const std::string path = (folder_.path() / (std::to_string(seconds) + ".mp4")).string();
    EXPECT_TRUE(makeMovie(path, seconds, false)) << "ffmpeg could not make the movie";
    return path;
  }
  void closeByPerson() override {
    QQuickItem* close = findNamed(frontEnd_.window()->contentItem(), "moviePlayerClose");
    ASSERT_NE(close, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return close->isVisible(); }, 10000));
    QTest::mouseClick(
        frontEnd_.window(), Qt::LeftButton, Qt::NoModifier,
        close->mapToScene(QPointF(close->width() / 2, close->height() / 2)).toPoint());
  }
  bool runUntil(const std::function<bool()>& done) override { return QTest::qWaitFor(done, 20000); }
  void settle() override { QTest::qWait(500); }

 private:
  TemporaryTree folder_{"quorvel-playback"};
  QuickFrontEnd frontEnd_;
};

QUORVEL_VIDEO_PLAYBACK_CONTRACT_TESTS()

INSTANTIATE_TEST_SUITE_P(Implementations, VideoPlaybackContract,
                         ::testing::Values(VideoPlaybackImplementation{
                             "Qt", [] { return std::make_unique<QtDriver>(); }}),
                         nameOfImplementation);

}  // namespace
}  // namespace quorvel::testing
