#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "AssetsServer.h"
#include "backend/AssetUploaderWebService.h"
#include "quorvel/ui/AlertController.h"
#include "support/TestScreenFixture.h"
#include "tests/video/DeviceFrontVideo_v1_ViewController.h"
#include "tests/video/DeviceFrontVideo_v2_ViewController.h"
#include "tests/video/QRCodeHelper.h"

namespace quorvel::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

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
  EXPECT_EQ(code->kind, Image::Kind::bitmap);
  EXPECT_EQ(code->width, (33 + 8) * 15);
  EXPECT_EQ(code->height, code->width);
  EXPECT_EQ(correctionLevel(*code), 0);
  // Only black and white, in whole 15 x 15 blocks.
  for (int y = 0; y < code->height; ++y) {
    for (int x = 0; x < code->width; ++x) {
      auto pixel = code->bytes[static_cast<std::size_t>(y * code->width + x)];
      ASSERT_TRUE(pixel == 0 || pixel == 255);
      ASSERT_EQ(pixel,
                code->bytes[static_cast<std::size_t>((y / 15 * 15) * code->width + x / 15 * 15)]);
    }
  }
  EXPECT_EQ(code->bytes.front(), 255);  // the quiet zone

  EXPECT_FALSE(QRCodeHelper::generateQRCode("start;imei=é;"));
  EXPECT_FALSE(QRCodeHelper::generateQRCode(std::string(3000, 'x')));
}

class DeviceFrontVideoTest : public TestScreenFixture {
 protected:
  void SetUp() override {
    TestScreenFixture::SetUp();
    server.start();
    env.setAssetsHost(server.address());
    context.uploader = std::make_shared<AssetUploaderWebService>(Environment::production, "app-1",
                                                                 "key-abcdefghijkl");
    context.deviceInfoSHA256 = std::string(64, 'a');
  }
  void TearDown() override {
    server.stop();
    TestScreenFixture::TearDown();
  }

  std::shared_ptr<AlertController> alertShown(ViewController& screen) const {
    return std::dynamic_pointer_cast<AlertController>(screen.presentedViewController());
  }
  std::filesystem::path movie() const { return documents->path() / "output.mov"; }
  std::filesystem::path rendered() const { return documents->path() / "rendered-Video.mp4"; }
  const std::shared_ptr<ScriptedCamera::Record>& lastSession() const {
    return env.camera->sessions.back();
  }

  // From the first step to the review, on virtual time.
  void recordV2(DeviceFrontVideo_v2_ViewController& screen) {
    press("uiBtNext_TouchUpInside");
    ASSERT_FALSE(screen.outlet<VideoPreview>("uiViewVideoPreview").hidden);
    ASSERT_FALSE(lastSession()->scanning);
    EXPECT_TRUE(lastSession()->withMicrophone);
    press("uiBtStartRecording_TouchUpInside");
    EXPECT_EQ(screen.outlet<ImageView>("uiImage").image,
              QRCodeHelper::generateQRCode(screen.startQRCode()));
    EXPECT_TRUE(lastSession()->recording);
    EXPECT_EQ(lastSession()->recordingPath, movie().string());
    env.queue->advance(6.0);
  }

  TemporaryTree storage{"quorvel-assets"};
  AssetsServer server{AssetsServer::Options{storage.path(), {"key-abcdefghijkl"}}};
};

TEST_F(DeviceFrontVideoTest, V2FilmsTheWholeSequenceAtItsMomentsAndUploadsTheMP4) {
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  EXPECT_EQ(alertShown(*screen), nullptr);
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image, Image::asset("imageMirrorTest"));
  EXPECT_TRUE(screen->outlet<Label>("uiLbMD5").mirrored);
  EXPECT_EQ(screen->md5().size(), 32u);

  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(screen->outlet<Label>("uiLbTitle").text, "Turn your device to face the mirror");
  press("uiBtStartRecording_TouchUpInside");
  const double t0 = env.queue->now();
  EXPECT_EQ(screen->startQRCode(),
            std::string("start;vendorID=") + "0F8FAD5B-D9CB-469F-A165-70867728950E;" + kStamp);
  EXPECT_TRUE(screen->outlet<Label>("uiLbTitle").text.empty());
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
  EXPECT_THAT(screen->endQRCode(), StartsWith("end;vendorID="));
  EXPECT_EQ(screen->outlet<ImageView>("uiImage").image,
            QRCodeHelper::generateQRCode(screen->endQRCode()));
  EXPECT_TRUE(screen->outlet<Label>("uiLbDescription").text.empty());
  EXPECT_TRUE(lastSession()->recording);
  env.queue->advance(0.5);  // 6 s: beep, the film ends, the review
  EXPECT_FALSE(lastSession()->recording);
  ASSERT_EQ(env.sounds->played.size(), 3u);
  EXPECT_THAT(env.sounds->names(), ElementsAre("beep", "video_test_audio_EN", "beep"));
  EXPECT_DOUBLE_EQ(env.sounds->played[1].at, t0 + 0.5);
  EXPECT_DOUBLE_EQ(env.sounds->played[2].at, t0 + 6.0);
  EXPECT_FALSE(screen->outlet<View>("uiVideoView").hidden);
  EXPECT_TRUE(screen->outlet<ImageView>("uiVideoReviewImage").image);

  // Next follows the box: off at 0.3, on at 1.0, off again when unticked.
  auto& next = screen->outlet<Button>("uiBtVideoReviewNext");
  EXPECT_FALSE(next.enabled);
  EXPECT_EQ(next.alpha, 0.3);
  press("uiCheckBoxTerms_TouchUpInside");
  EXPECT_TRUE(next.enabled);
  EXPECT_EQ(next.alpha, 1.0);
  press("uiCheckBoxTerms_TouchUpInside");
  EXPECT_FALSE(next.enabled);
  EXPECT_EQ(next.alpha, 0.3);
  press("uiCheckBoxTerms_TouchUpInside");
  press("uiBtPlayVideo_TouchUpInside");
  EXPECT_THAT(env.videoPlayer->played, ElementsAre(movie().string()));

  press("uiBtVideoReviewNext_TouchUpInsde");
  ASSERT_TRUE(waitUntil([&] { return !delegate->reports.empty(); }));
  const auto& result = onlyReport().result;
  EXPECT_EQ(result.at("success"), true);
  EXPECT_EQ(result.at("version"), "2");
  EXPECT_EQ(result.at("md5"), screen->md5());
  EXPECT_EQ(result.at("start_qr_code"), screen->startQRCode());
  EXPECT_EQ(result.at("end_qr_code"), screen->endQRCode());
  EXPECT_EQ(result.at("timestamp"), kStamp);
  // The MP4 reached the backend; the raw film is gone.
  std::string url = result.at("url");
  EXPECT_THAT(url, StartsWith(server.address() + "/"));
  EXPECT_THAT(url, ::testing::EndsWith("rendered-Video.mp4"));
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

TEST_F(DeviceFrontVideoTest, V2AsksForSoundBelowHalfVolumeAndSpeaksPortuguese) {
  env.volume.systemChange(0.49f);
  context.language = SupportedLanguage::portuguese;
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  for (int attempt = 0; attempt < 2; ++attempt) {
    press("uiBtNext_TouchUpInside");
    auto alert = alertShown(*screen);
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->message(), context.copy("alert_sound_level_ios"));
    alert->performAction(0);
    settle();
  }
  EXPECT_TRUE(env.camera->sessions.empty());
  env.volume.systemChange(0.5f);  // exactly half is enough
  settle();
  recordV2(*screen);
  EXPECT_THAT(env.sounds->names(), ElementsAre("beep", "video_test_audio_PT", "beep"));
}

TEST_F(DeviceFrontVideoTest, V1StartsOnTheStartCodeAndEndsOnTheEndCode) {
  context.imei = "356789012345678";
  auto screen = show<DeviceFrontVideo_v1_ViewController>();
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(screen->startQRCode(), std::string("start;imei=356789012345678;") + kStamp);
  EXPECT_TRUE(screen->outlet<Button>("uiBtNext").hidden);
  ASSERT_TRUE(lastSession()->scanning);

  // A code that is neither stops the scanning and nothing else.
  env.camera->sees({"some other code"});
  settle();
  EXPECT_TRUE(lastSession()->stopped);
  EXPECT_EQ(env.camera->sessions.size(), 1u);
  EXPECT_TRUE(env.sounds->played.empty());

  // The person goes back and starts again: this time the mirror shows the start code.
  screen->sendAction("uiBtTryAgain_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  env.camera->sees({screen->startQRCode()});
  settle();
  const double t0 = env.queue->now();
  auto recording = lastSession();
  EXPECT_FALSE(recording->scanning);
  EXPECT_FALSE(recording->withMicrophone);
  EXPECT_TRUE(recording->recording);
  // The sequence begins 0.5 s after the reading: the end code at 5 s into it, the stop at 5.5 s.
  env.queue->advance(5.5);
  EXPECT_EQ(screen->outlet<Label>("uiLbDescription").text,
            context.copy("screen_test_description_instructions_end"));
  EXPECT_TRUE(recording->recording);
  env.queue->advance(0.49);
  EXPECT_TRUE(recording->recording);
  env.queue->advance(0.01);
  EXPECT_FALSE(recording->recording);
  ASSERT_TRUE(lastSession()->scanning);
  // The start code shown again does not start a second film.
  env.camera->sees({screen->startQRCode()});
  settle();
  EXPECT_EQ(env.sounds->names(), (std::vector<std::string>{"beep", "testfile"}));
  EXPECT_DOUBLE_EQ(env.sounds->played[1].at, t0 + 0.5);

  screen->sendAction("uiBtTryAgain_TouchUpInside");  // only the review offers it
  EXPECT_TRUE(screen->outlet<View>("uiVideoView").hidden);
}

TEST_F(DeviceFrontVideoTest, V1ReviewsAfterTheEndCodeAndUploadsTheRawFilmWhenExportFails) {
  env.device->vendorIdentifier.reset();
  env.mediaExport->fails = true;
  auto screen = show<DeviceFrontVideo_v1_ViewController>();
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(screen->startQRCode(), std::string("start;no_identifier;") + kStamp);
  env.camera->sees({screen->startQRCode()});
  settle();
  env.queue->advance(6.0);
  env.camera->sees({screen->endQRCode()});
  settle();
  EXPECT_FALSE(screen->outlet<View>("uiVideoView").hidden);
  EXPECT_EQ(env.sounds->names(), (std::vector<std::string>{"beep", "testfile", "beep"}));

  press("uiBtVideoReviewNext_TouchUpInsde");
  ASSERT_TRUE(waitUntil([&] { return !delegate->reports.empty(); }));
  const auto& result = onlyReport().result;
  EXPECT_EQ(result.at("success"), true);
  EXPECT_EQ(result.at("version"), "1");
  EXPECT_THAT(std::string(result.at("url")), ::testing::EndsWith("output.mov"));
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

TEST_F(DeviceFrontVideoTest, FailuresReportOnlySuccessTimestampAndVersion) {
  const Dictionary failure = {{"success", false}, {"timestamp", kStamp}, {"version", "2"}};

  // No camera: said so, and the person can still give up.
  env.camera->present = false;
  auto screen = show<DeviceFrontVideo_v2_ViewController>();
  press("uiBtNext_TouchUpInside");
  auto alert = alertShown(*screen);
  ASSERT_TRUE(alert);
  EXPECT_EQ(alert->title(), "Scanning not supported");
  EXPECT_EQ(alert->message(),
            "Your device does not support scanning a code from an item. Please use a device with "
            "a camera.");
  alert->performAction(0);
  press("uiBtCouldntCompleteTest_TouchUpInside");
  EXPECT_EQ(onlyReport().result, failure);

  // A backend that refuses: the film is gone all the same, and the test ends failed.
  env.camera->present = true;
  env.setAssetsHost("http://127.0.0.1:1");
  delegate->reports.clear();
  screen = show<DeviceFrontVideo_v2_ViewController>();
  recordV2(*screen);
  press("uiCheckBoxTerms_TouchUpInside");
  press("uiBtVideoReviewNext_TouchUpInsde");
  ASSERT_TRUE(waitUntil([&] { return !delegate->reports.empty(); }));
  EXPECT_EQ(onlyReport().result, failure);
  EXPECT_FALSE(std::filesystem::exists(movie()));
}

TEST_F(DeviceFrontVideoTest, CancelFromAnyStepEndsOnceAndStopsFilming) {
  // Cancel at each step of the v2 screen: the initial one, the preview, mid-film and the review.
  for (int step = 0; step < 4; ++step) {
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
    ASSERT_EQ(delegate->reports.size(), 1u) << "step " << step;
    EXPECT_TRUE(delegate->reports[0].cancelled);
    EXPECT_EQ(env.sounds->played.size(), soundsBefore) << "a step ran after the cancel";
    if (!env.camera->sessions.empty()) {
      EXPECT_TRUE(lastSession()->stopped);
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
