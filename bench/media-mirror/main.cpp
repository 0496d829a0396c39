// Measures the mirror camera offscreen: frames it delivers to the preview per second while
// filming a phone-sized window whose picture changes all the time, alone and while recording a
// movie with sound, and the frames that reach the movie.
//
//   quorvel-bench-media-mirror [--seconds N]

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPainter>
#include <QQuickPaintedItem>
#include <QQuickWindow>
#include <QTest>
#include <QTimer>
#include <cstdio>
#include <filesystem>

#include "qt/QtMainQueue.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "support/MovieProbe.h"

namespace {

using namespace quorvel;

// A screen that never stands still: a new colour and a moving bar at 60 Hz.
class BusyScreen : public QQuickPaintedItem {
 public:
  BusyScreen() {
    ticker_.callOnTimeout([this] {
      ++tick_;
      update();
    });
    ticker_.start(16);
  }
  void paint(QPainter* painter) override {
    painter->fillRect(boundingRect(), QColor::fromHsv(tick_ * 3 % 360, 200, 220));
    painter->fillRect(QRectF(0, tick_ * 4 % static_cast<int>(height()), width(), 40), Qt::black);
  }

 private:
  QTimer ticker_;
  int tick_ = 0;
};

// Frames delivered to the preview per second over seconds.
double deliveredPerSecond(VirtualMirrorCamera& camera, double seconds) {
  int frames = 0;
  camera.setPictureChanged([&] { ++frames; });
  QElapsedTimer clock;
  clock.start();
  QTest::qWait(static_cast<int>(seconds * 1000));
  camera.setPictureChanged(nullptr);
  return frames / (static_cast<double>(clock.elapsed()) / 1000);
}

}  // namespace

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  double seconds = 5;
  if (argc == 3 && std::string(argv[1]) == "--seconds") seconds = std::atof(argv[2]);
  if (!(seconds > 0)) {
    std::fprintf(stderr, "usage: quorvel-bench-media-mirror [--seconds N]\n");
    return 2;
  }
  Platform p;
  p.mainQueue = std::make_shared<QtMainQueue>();
  installPlatform(p);

  QQuickWindow window;
  window.resize(390, 844);
  auto* screen = new BusyScreen;
  screen->setParent(window.contentItem());  // owned, not only drawn, by the window
  screen->setParentItem(window.contentItem());
  screen->setSize(window.size());
  window.show();
  if (!QTest::qWaitForWindowExposed(&window)) {
    std::fprintf(stderr, "the window was not shown\n");
    return 1;
  }

  auto room = std::make_shared<VirtualRoom>();
  VirtualMirrorCamera camera(&window, room);
  auto session = camera.startCapture(true);
  QTest::qWait(1000);  // the first grab of a window is slow
  const double preview = deliveredPerSecond(camera, seconds);

  const std::string movie =
      (std::filesystem::temp_directory_path() / "quorvel-bench-mirror.mov").string();
  bool finished = false;
  std::optional<std::string> error;
  session->startRecording(movie, [&](std::optional<std::string> e) {
    finished = true;
    error = e;
  });
  const double recording = deliveredPerSecond(camera, seconds);
  session->stopRecording();
  const bool closed = QTest::qWaitFor([&] { return finished; }, 30000);
  session.reset();
  if (!closed || error) {
    std::fprintf(stderr, "recording failed: %s\n", error.value_or("no answer").c_str());
    return 1;
  }
  auto probed = testing::probeMovie(movie);
  const testing::ProbedStream* video = probed ? probed->first("h264") : nullptr;
  const double recorded =
      video && video->seconds > 0 ? video->packetTimes.size() / video->seconds : 0;
  std::filesystem::remove(movie);

  std::printf("mirror camera filming a 390x844 offscreen window that changes at 60 Hz\n");
  std::printf("  preview frames per second:                %6.1f  (goal >= 10; %.2fx)\n", preview,
              preview / 10);
  std::printf("  preview frames per second, recording:     %6.1f  (goal >= 10; %.2fx)\n", recording,
              recording / 10);
  std::printf("  frames per second in the movie:           %6.1f  (goal >= 10; %.2fx)\n", recorded,
              recorded / 10);
  return 0;
}
