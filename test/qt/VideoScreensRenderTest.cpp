// The screen video test drawn offscreen at every step, in both languages, filmed by the mirror
// camera: the copy the core holds, each colour over the whole screen, and the review with the
// film's first picture.
#include <QTest>

#include "QuickFixture.h"
#include "quorvel/ScreenType.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"

namespace quorvel::testing {
namespace {

class VideoScreensRenderTest : public QuickFixture,
                               public ::testing::WithParamInterface<SupportedLanguage> {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    camera = useVirtualRoom();
  }

  std::string suffix() const { return GetParam() == SupportedLanguage::english ? "-en" : "-pt"; }

  std::shared_ptr<VirtualMirrorCamera> camera;
};

TEST_P(VideoScreensRenderTest, EveryStepIsDrawnAsTheCoreHoldsIt) {
  sdk.language = GetParam();
  auto screen = show<DeviceFrontVideo_v2_ViewController>(ScreenType::device_front_video_v2);
  expectCoreCopy(*screen, {"uiLbTitle", "uiLbDescription", "uiBtNext"});
  expectCoreColours();
  grab("DeviceFrontVideo_v2-initial" + suffix());

  tap("uiBtNext");
  ASSERT_TRUE(waitFor([&] { return item("uiViewVideoPreview")->property("showing").toBool(); }));
  expectCoreCopy(*screen, {"uiLbTitle", "uiLbDescription"});
  grab("DeviceFrontVideo_v2-preview" + suffix());

  // The codes are read back from the film in DemoProgramTest.
  tap("uiBtStartRecording");

  const std::pair<const char*, QColor> colours[] = {{"blue", Qt::blue},
                                                    {"yellow", Qt::yellow},
                                                    {"red", Qt::red},
                                                    {"black", Qt::black},
                                                    {"green", Qt::green}};
  for (const auto& [name, colour] : colours) {
    ASSERT_TRUE(waitFor([&, c = colour] {
      const auto& background = screen->outlet<View>("uiColorsView").backgroundColor;
      return background && qColor(*background) == c;
    }));
    QTest::qWait(50);
    const QImage shot = grab(std::string("DeviceFrontVideo_v2-") + name + suffix());
    // The colour covers the screen, corners included; the label is drawn over it.
    EXPECT_EQ(shot.pixelColor(2, 2), colour) << name;
    EXPECT_EQ(shot.pixelColor(shot.width() - 3, shot.height() - 3), colour) << name;
    EXPECT_EQ(textOf("uiLbMD5"), QString::fromStdString(screen->md5()));
  }

  ASSERT_TRUE(waitFor([&] {
    return !screen->outlet<View>("uiVideoView").hidden &&
           screen->outlet<ImageView>("uiVideoReviewImage").image.has_value();
  }));
  QTest::qWait(50);
  expectCoreCopy(*screen, {"uiLbVideoReviewTitle", "uiLbVideoReviewDescription", "uiCheckBoxTerms",
                           "uiBtTryAgain", "uiBtVideoReviewNext"});
  expectCoreColours();
  grab("DeviceFrontVideo_v2-review" + suffix());
  // The film's first picture is the mirror's view of the start code, not an empty frame.
  const QColor middle = colorAt("uiVideoReviewImage", QPointF(0, -40));
  EXPECT_NE(middle, QColor("#1C1C1E"));
  tap("uiBtCancel");
}

INSTANTIATE_TEST_SUITE_P(BothLanguages, VideoScreensRenderTest,
                         ::testing::Values(SupportedLanguage::english,
                                           SupportedLanguage::portuguese));

}  // namespace
}  // namespace quorvel::testing
