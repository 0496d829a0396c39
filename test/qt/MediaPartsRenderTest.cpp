// The shared media parts as drawn offscreen: a mirrored label reads in a mirror, a bitmap keeps
// hard pixel edges at any size, a camera preview fills its place with the installed camera's
// picture (cropped, not squeezed; the mirror camera's as a mirror shows it) and shows nothing
// without one. The movie player as drawn is the accessibility walk's.
#include <QPainter>
#include <QSignalSpy>

#include "PictureWindow.h"
#include "QuickFixture.h"

namespace quorvel::testing {
namespace {

class MediaPartsTestPage : public ViewController {
 public:
  MediaPartsTestPage() : ViewController("MediaPartsTestPage") {
    registerOutlet<View>("view");
    registerOutlet<Label>("uiLbPlain");
    registerOutlet<Label>("uiLbMirrored");
    registerOutlet<ImageView>("uiIvBitmap");
    registerOutlet<VideoPreview>("uiCameraPreview");
  }
};

class MediaPartsRenderTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    page = std::make_shared<MediaPartsTestPage>();
    for (const char* name : {"uiLbPlain", "uiLbMirrored"}) {
      auto& label = page->outlet<Label>(name);
      label.text = "Quorvel R";
      label.textColor = Color::rgb(0, 0, 0);
    }
    page->outlet<Label>("uiLbMirrored").mirrored = true;
    page->outlet<ImageView>("uiIvBitmap").image = Image::bitmap(2, 2, {0, 255, 255, 0});
    page->outlet<VideoPreview>("uiCameraPreview").backgroundColor = Color::rgb(0, 255, 0);
    show(page);
  }

  // The part of the window's picture where outlet name is drawn.
  QImage drawn(const QImage& window, const QString& name) {
    return window.copy(sceneRect(item(name)));
  }
  // Whether the picture shows text (a dark pixel) at x, y.
  static bool dark(const QImage& picture, int x, int y) {
    return picture.valid(x, y) && picture.pixelColor(x, y).lightness() < 128;
  }
  // The share of a's text pixels that b has too, give or take a pixel, whichever way round is
  // worse: 1 when the same shape, low for different ones.
  static double likeness(const QImage& a, const QImage& b) {
    auto covered = [](const QImage& from, const QImage& in) {
      const int text = countPoints(from.rect(), [&](int x, int y) { return dark(from, x, y); });
      const int near = countPoints(from.rect(), [&](int x, int y) {
        return dark(from, x, y) &&
               countPoints({x - 1, y - 1, 3, 3}, [&](int nx, int ny) { return dark(in, nx, ny); });
      });
      return text == 0 ? 0.0 : double(near) / double(text);
    };
    return std::min(covered(a, b), covered(b, a));
  }

  std::shared_ptr<MediaPartsTestPage> page;
};

TEST_F(MediaPartsRenderTest, AMirroredLabelIsTheOtherFlippedLeftToRight) {
  const QImage window = grab("media-parts");
  const QImage plain = drawn(window, "uiLbPlain");
  const QImage mirrored = drawn(window, "uiLbMirrored");
  ASSERT_GT(countPoints(plain.rect(), [&](int x, int y) { return dark(plain, x, y); }), 50)
      << "the label draws no text";
  // Glyphs drawn through a flipping transform land a pixel off here and there.
  EXPECT_GT(likeness(plain.mirrored(true, false), mirrored), 0.97);
  EXPECT_LT(likeness(plain, mirrored), 0.6);
}

TEST_F(MediaPartsRenderTest, ABitmapKeepsHardPixelEdgesAtAnySize) {
  const QImage picture = drawn(grab("bitmap"), "uiIvBitmap");
  ASSERT_EQ(picture.size(), QSize(200, 200));
  EXPECT_EQ(countPoints(picture.rect(),
                        [&](int x, int y) {
                          const int grey = picture.pixelColor(x, y).lightness();
                          return grey > 8 && grey < 247;
                        }),
            0)
      << "blurred pixels";
  // The checker's squares, each a quarter of the image, with the edge between pixels 99 and 100.
  for (QPoint at : {QPoint(50, 50), QPoint(150, 150), QPoint(99, 99)}) {
    EXPECT_LT(picture.pixelColor(at).lightness(), 8) << at.x() << "," << at.y();
  }
  for (QPoint at : {QPoint(150, 50), QPoint(50, 150), QPoint(100, 99)}) {
    EXPECT_GT(picture.pixelColor(at).lightness(), 247) << at.x() << "," << at.y();
  }
}

// The mirror camera's picture reaches the front end as a mirror shows the filmed window, until
// its session ends.
TEST_F(MediaPartsRenderTest, ACameraPreviewFillsItsPlaceWithTheMirrorsPictureCentred) {
  // Four stripes; the mirror shows them the other way round, and filling a square with the wide
  // picture shows only the middle two.
  QImage picture(400, 100, QImage::Format_RGB32);
  const QColor stripes[] = {Qt::yellow, Qt::red, Qt::blue, Qt::magenta};
  QPainter painter(&picture);
  for (int i = 0; i < 4; ++i) painter.fillRect(i * 100, 0, 100, 100, stripes[i]);
  painter.end();
  PictureWindow window({400, 100});
  window.showPicture(picture);
  auto room = std::make_shared<VirtualRoom>();
  auto camera = std::make_shared<VirtualMirrorCamera>(&window, room);
  frontEnd->useCamera(camera, camera);
  EXPECT_EQ(platform().camera, camera) << "the installed platform keeps the front end's camera";
  auto session = camera->startCapture(false);
  ASSERT_TRUE(session);
  ASSERT_TRUE(waitFor([&] { return item("uiCameraPreview")->property("showing").toBool(); }));
  EXPECT_EQ(frontEnd->cameraPicture().size(), window.grabWindow().size());
  QTest::qWait(50);
  const QImage shown = drawn(grab("camera-preview"), "uiCameraPreview");
  ASSERT_EQ(shown.size(), QSize(100, 100));
  for (QPoint at : {QPoint(10, 2), QPoint(10, 97), QPoint(40, 50)}) {
    EXPECT_EQ(shown.pixelColor(at), QColor(Qt::blue)) << at.x() << "," << at.y();
  }
  for (QPoint at : {QPoint(90, 2), QPoint(90, 97), QPoint(60, 50)}) {
    EXPECT_EQ(shown.pixelColor(at), QColor(Qt::red)) << at.x() << "," << at.y();
  }

  // The session ends: the preview hears that the picture is gone, and only the outlet's own
  // colour is left. Scanning shows nothing.
  QSignalSpy changes(frontEnd.get(), &QuickFrontEnd::cameraPictureChanged);
  session->stop();
  EXPECT_TRUE(frontEnd->cameraPicture().isNull());
  EXPECT_EQ(changes.count(), 1);
  auto scanning = camera->startScanning([](const std::vector<std::string>&) {});
  ASSERT_TRUE(waitFor([&] { return !item("uiCameraPreview")->property("showing").toBool(); }));
  QTest::qWait(300);
  EXPECT_TRUE(frontEnd->cameraPicture().isNull());
  EXPECT_EQ(drawn(grab(), "uiCameraPreview").pixelColor(50, 50), QColor(Qt::green));
  scanning.reset();

  // A camera the front end let go of is no longer heard.
  frontEnd->useCamera(std::make_shared<VirtualMirrorCamera>(&window, room), nullptr);
  changes.clear();
  session = camera->startCapture(false);
  ASSERT_TRUE(waitFor([&] { return !camera->picture().isNull(); }));
  QTest::qWait(100);
  EXPECT_EQ(changes.count(), 0);
}

}  // namespace
}  // namespace quorvel::testing
