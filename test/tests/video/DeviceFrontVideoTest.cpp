#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "quorvel/ui/AlertController.h"
#include "support/TestScreenFixture.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"
#include "tests/video/QRCodeHelper.h"

namespace quorvel::testing {
namespace {

using ::testing::ElementsAre;

constexpr const char* kStamp = "2024-03-01T10:15:30.123+0000";

// The error-correction level written in a code's format bits, read back from its pixels:
// 0 M, 1 L, 2 H, 3 Q.
int correctionLevel(const Image& code) {
  auto dark = [&](int x, int y) {
    const int q = QRCodeHelper::quietZone, m = QRCodeHelper::moduleSize;
    return code.bytes[static_cast<std::size_t>(((y + q) * m + m / 2) * code.width + (x + q) * m +
                                               m / 2)] < 128;
  };
  int bits = 0;
  for (int i = 0; i <= 5; ++i) bits |= dark(8, i) << i;
  bits |= dark(8, 7) << 6 | dark(8, 8) << 7 | dark(7, 8) << 8;
  for (int i = 9; i < 15; ++i) bits |= dark(14 - i, 8) << i;
  return ((bits ^ 0x5412) >> 13) & 3;
}

TEST(QRCodeHelper, DrawsEachModuleAsASharpBlockAtLevelMAndRefusesNonASCII) {
  // A 46-byte end code is version 4 at level M (33 modules), with four light modules around it;
  // it would also fit version 4 at level Q, which the encoder picks when allowed to.
  auto code = QRCodeHelper::generateQRCode(std::string("end;no_identifier;") + kStamp);
  ASSERT_TRUE(code);
  EXPECT_EQ(code->width, (33 + 8) * 15);
  EXPECT_EQ(correctionLevel(*code), 0);
  // Only black and white, in whole 15 x 15 blocks, light around.
  for (int y = 0; y < code->height; ++y) {
    for (int x = 0; x < code->width; ++x) {
      auto at = [&](int px, int py) {
        return code->bytes[static_cast<std::size_t>(py * code->width + px)];
      };
      ASSERT_TRUE(at(x, y) == 0 || at(x, y) == 255);
      ASSERT_EQ(at(x, y), at(x / 15 * 15, y / 15 * 15));
    }
  }
  EXPECT_EQ(code->bytes.front(), 255);
  EXPECT_FALSE(QRCodeHelper::generateQRCode("start;imei=é;"));
}

class DeviceFrontVideoTest : public TestScreenFixture {
 protected:
  void SetUp() override {
    TestScreenFixture::SetUp();
    serveAssets();
  }

  std::filesystem::path movie() const { return documents->path() / "output.mov"; }
  const std::shared_ptr<ScriptedCamera::Record>& lastSession() const {
    return env.camera->sessions.back();
  }
};

TEST_F(DeviceFrontVideoTest, V2FilmsTheWholeSequenceAtItsMomentsAndUploadsTheMP4) {
  // An earlier screen left the earpiece on; the cues still come from the loudspeaker.
  env.volume.session->setCategory(AudioCategory::playAndRecord, AudioMode::standard, {false});
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  press("uiBtNext_TouchUpInside");
  press("uiBtStartRecording_TouchUpInside");
  const double t0 = env.queue->now();
  EXPECT_EQ(screen->startQRCode(),
            std::string("start;vendorID=") + "0F8FAD5B-D9CB-469F-A165-70867728950E;" + kStamp);
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image,
            QRCodeHelper::generateQRCode(screen->startQRCode()));
  EXPECT_TRUE(screen->outlet<Button>("uiBtCouldntCompleteTest").hidden);

  // The colours, each from the one base moment 0.5 s after the recording started.
  struct Expected {
    double at;
    Color background, label;
  };
  const Expected colours[] = {{0.5, Color{0, 0, 1, 1}, Color::white()},
                              {1.5, Color{1, 1, 0, 1}, Color::black()},
                              {2.5, Color{1, 0, 0, 1}, Color::white()},
                              {3.5, Color::black(), Color::white()},
                              {4.5, Color{0, 1, 0, 1}, Color::black()}};
  for (const auto& colour : colours) {
    env.queue->advance(t0 + colour.at - env.queue->now() - 0.01);
    EXPECT_NE(screen->outlet<View>("uiColorsView").backgroundColor, colour.background)
        << "early at " << colour.at;
    env.queue->advance(0.01);
    EXPECT_FALSE(screen->outlet<View>("uiColorsView").hidden);
    EXPECT_EQ(screen->outlet<View>("uiColorsView").backgroundColor, colour.background);
    EXPECT_EQ(screen->outlet<Label>("uiLbMD5").textColor, colour.label);
  }
  env.queue->advance(1.0);  // 5.5 s: the end code in place of the colours, without words
  EXPECT_TRUE(screen->outlet<View>("uiColorsView").hidden);
  EXPECT_THAT(screen->endQRCode(), ::testing::StartsWith("end;vendorID="));
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image,
            QRCodeHelper::generateQRCode(screen->endQRCode()));
  EXPECT_TRUE(lastSession()->recording);
  env.queue->advance(0.5);  // 6 s: beep, the film ends, the review
  EXPECT_FALSE(lastSession()->recording);
  ASSERT_THAT(env.sounds->names(), ElementsAre("beep", "video_test_audio_EN", "beep"));
  EXPECT_DOUBLE_EQ(env.sounds->played[1].at, t0 + 0.5);
  EXPECT_DOUBLE_EQ(env.sounds->played[2].at, t0 + 6.0);
  for (const auto& sound : env.sounds->played) {
    EXPECT_EQ(sound.route, AudioRoute::loudspeaker) << sound.name << " not in play-and-record";
  }
  EXPECT_FALSE(screen->outlet<View>("uiVideoView").hidden);

  // Next follows the box: off at 0.3, on at 1.0.
  auto& next = screen->outlet<Button>("uiBtVideoReviewNext");
  EXPECT_FALSE(next.enabled);
  EXPECT_EQ(next.alpha, 0.3);
  press("uiCheckBoxTerms_TouchUpInside");
  EXPECT_TRUE(next.enabled);
  EXPECT_EQ(next.alpha, 1.0);
  press("uiBtPlayVideo_TouchUpInside");
  EXPECT_THAT(env.videoPlayer->played, ElementsAre(movie().string()));

  press("uiBtVideoReviewNext_TouchUpInsde");
  const auto& result = awaitReport().result;
  EXPECT_EQ(result.at("success"), true);
  EXPECT_EQ(result.at("version"), "2");
  EXPECT_EQ(result.at("md5"), screen->md5());
  EXPECT_EQ(result.at("start_qr_code"), screen->startQRCode());
  EXPECT_EQ(result.at("end_qr_code"), screen->endQRCode());
  // The MP4 reached the backend; the raw film is gone.
  EXPECT_THAT(std::string(result.at("url")), ::testing::EndsWith("rendered-Video.mp4"));
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

// A failed test reports only these.
const Dictionary kFailed = {{"success", false}, {"timestamp", kStamp}, {"version", "2"}};

TEST_F(DeviceFrontVideoTest, V2AsksForSoundSpeaksPortugueseAndFailsWhenTheUploadDoes) {
  env.device->vendorIdentifier.reset();
  env.volume.systemChange(0.49f);
  env.setAssetsHost("http://127.0.0.1:1");  // nothing listens there
  context.language = SupportedLanguage::portuguese;
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  press("uiBtNext_TouchUpInside");
  ASSERT_TRUE(alertOn(screen));
  alertOn(screen)->performAction(0);
  settle();
  EXPECT_TRUE(env.camera->sessions.empty());
  env.volume.systemChange(0.5f);  // exactly half is enough
  settle();
  press("uiBtNext_TouchUpInside");
  ASSERT_FALSE(screen->outlet<VideoPreview>("uiViewVideoPreview").hidden);
  press("uiBtStartRecording_TouchUpInside");
  EXPECT_TRUE(lastSession()->withMicrophone && lastSession()->recording);
  EXPECT_EQ(lastSession()->recordingPath, movie().string());
  env.queue->advance(6.0);  // to the review
  EXPECT_EQ(screen->startQRCode(), std::string("start;no_identifier;") + kStamp);
  EXPECT_THAT(env.sounds->names(), ElementsAre("beep", "video_test_audio_PT", "beep"));

  // The backend cannot be reached: the film is gone all the same, and the test ends failed.
  press("uiCheckBoxTerms_TouchUpInside");
  press("uiBtVideoReviewNext_TouchUpInsde");
  EXPECT_EQ(awaitReport().result, kFailed);
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

TEST_F(DeviceFrontVideoTest, V1FilmsBetweenTheCodesItReadsAndUploadsTheRawFilmWhenExportFails) {
  context.imei = "356789012345678";
  env.mediaExport->fails = true;
  auto screen = show<DeviceFrontVideo_v1_ViewController>();
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(screen->startQRCode(), std::string("start;imei=356789012345678;") + kStamp);
  ASSERT_TRUE(lastSession()->scanning);

  // A code that is neither stops the scanning and nothing else.
  env.camera->sees({"some other code"});
  settle();
  EXPECT_TRUE(lastSession()->stopped);
  EXPECT_TRUE(env.sounds->played.empty());
  EXPECT_EQ(env.feedback->vibrations.size(), 1u) << "every code read is felt";

  // The person goes back and starts again: this time the mirror shows the start code.
  screen->sendAction("uiBtTryAgain_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  env.camera->sees({screen->startQRCode()});
  settle();
  const double t0 = env.queue->now();
  EXPECT_EQ(env.feedback->vibrations.size(), 2u);
  auto recording = lastSession();
  EXPECT_FALSE(recording->withMicrophone);
  EXPECT_TRUE(recording->recording);
  // The sequence begins 0.5 s after the reading: the end code at 5 s into it, the stop at 5.5 s.
  env.queue->advance(5.99);
  EXPECT_TRUE(recording->recording);
  env.queue->advance(0.01);
  EXPECT_FALSE(recording->recording);
  ASSERT_TRUE(lastSession()->scanning);
  // The end code leads to the review.
  env.camera->sees({screen->endQRCode()});
  settle();
  EXPECT_FALSE(screen->outlet<View>("uiVideoView").hidden);
  EXPECT_EQ(env.sounds->names(), (std::vector<std::string>{"beep", "testfile", "beep"}));
  EXPECT_DOUBLE_EQ(env.sounds->played[1].at, t0 + 0.5);
  EXPECT_EQ(env.feedback->vibrations.size(), 3u);

  press("uiBtVideoReviewNext_TouchUpInsde");
  const auto& result = awaitReport().result;
  EXPECT_EQ(result.at("version"), "1");
  EXPECT_THAT(std::string(result.at("url")), ::testing::EndsWith("output.mov"));
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

// Giving up from there is WayOutWalk's "the camera is missing".
TEST_F(DeviceFrontVideoTest, WithoutACameraItSaysSo) {
  env.camera->present = false;
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  press("uiBtNext_TouchUpInside");
  auto alert = alertOn(screen);
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->title(), "Scanning not supported");
}

TEST_F(DeviceFrontVideoTest, CancelFromAnyStepEndsOnceAndStopsFilming) {
  // Cancel at each step of the v2 screen: the initial one, the preview, mid-film and the review.
  for (int step = 0; step < 4; ++step) {
    SCOPED_TRACE(step);
    delegate->reports.clear();
    env.sounds->played.clear();
    auto screen = show<DeviceFrontVideo_v2_ViewController>();
    if (step >= 1) press("uiBtNext_TouchUpInside");
    if (step >= 2) {
      press("uiBtStartRecording_TouchUpInside");
      env.queue->advance(step == 2 ? 2.0 : 6.0);
    }
    const auto soundsBefore = env.sounds->played.size();
    press("uiBtCancel_TouchUpInside");
    env.queue->advance(10);
    EXPECT_TRUE(onlyReport().cancelled);
    EXPECT_EQ(env.sounds->played.size(), soundsBefore) << "a step ran after the cancel";
    if (!env.camera->sessions.empty()) {
      EXPECT_TRUE(lastSession()->stopped);
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
