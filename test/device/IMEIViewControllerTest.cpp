#include <gtest/gtest.h>

#include "device/IMEIViewController.h"
#include "quorvel/ui/AlertController.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;

TEST(IMEIValidityTest, FifteenDigitsWithALuhnChecksum) {
  EXPECT_TRUE(IMEIViewController::isValidIMEI("\t49015 42032 37518\n"));  // blanks are removed
  EXPECT_TRUE(IMEIViewController::isValidIMEI("000000000000000"));        // checksum only
  // A checksum off by one and by five; a digit short; a digit more, also one that keeps the
  // checksum; a letter, a full-width digit, nothing.
  for (const char* bad :
       {"490154203237519", "490154203237513", "49015420323751", "4901542032375180",
        "0490154203237518", "49015420323751A", "４90154203237518", ""}) {
    EXPECT_FALSE(IMEIViewController::isValidIMEI(bad)) << bad;
  }
}

class IMEIViewControllerTest : public quorvel::testing::SdkFixture {
 protected:
  struct Reported {
    std::optional<std::string> imei, imeiUrl, serial, serialUrl;
  };
  struct Recorder : IMEIViewControllerDelegate {
    std::vector<Reported> successes;
    void IMEIViewControllerIMEIInputSuccessful(IMEIViewController&, std::optional<std::string> a,
                                               std::optional<std::string> b,
                                               std::optional<std::string> c,
                                               std::optional<std::string> d) override {
      successes.push_back({a, b, c, d});
    }
    void IMEIViewControllerErrorOccurred(IMEIViewController&) override {}
    void IMEIViewControllerPressedCancel(IMEIViewController&) override {}
  };

  void SetUp() override {
    SdkFixture::SetUp();
    hostWithNavigation();
    screen = std::make_shared<IMEIViewController>(portsOnly());
    screen->delegate = recorder;
    hostNavigation->pushViewController(screen, false);
  }

  void type(const std::string& text) { screen->textFieldDidChange("uiTfIMEI", text); }
  std::shared_ptr<AlertController> alert() const { return alertOn(screen); }

  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::shared_ptr<IMEIViewController> screen;
};

TEST_F(IMEIViewControllerTest, NextReportsTrimmedTextInTheChosenModeAndRejectsInvalidIMEIs) {
  type("   \n");
  press("uiBtNext_TouchUpInside");
  EXPECT_FALSE(alert());

  type("490154203237519");
  press("uiBtNext_TouchUpInside");
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title(), "The value is not a valid IMEI number");
  alert()->performAction(0);
  EXPECT_TRUE(recorder->successes.empty());

  type(" 49015 42032 37518 \n");
  press("uiBtNext_TouchUpInside");
  // The serial mode keeps the text, switches the keyboard and checks nothing.
  const auto& field = screen->outlet<TextField>("uiTfIMEI");
  EXPECT_EQ(field.keyboardType, KeyboardType::numberPad);
  type("  not-checked serial ");
  press("uiRBSerialNumber_TouchUpInside");
  EXPECT_FALSE(screen->outlet<RadioButton>("uiRBIMEI").isChecked);
  EXPECT_EQ(field.keyboardType, KeyboardType::standard);
  EXPECT_EQ(field.text, "  not-checked serial ");
  press("uiBtNext_TouchUpInside");
  ASSERT_EQ(recorder->successes.size(), 2u);
  EXPECT_EQ(recorder->successes[0].imei, "49015 42032 37518");
  EXPECT_FALSE(recorder->successes[0].imeiUrl || recorder->successes[0].serial);
  EXPECT_EQ(recorder->successes[1].serial, "not-checked serial");
  EXPECT_FALSE(recorder->successes[1].imei);

  // The settings path is filled into the description, and its link opens the settings.
  EXPECT_EQ(screen->outlet<Label>("uiLbDescription").text.find('%'), std::string::npos);
  press(screen->outlet<Label>("uiLbDescription").linkAction);
  EXPECT_EQ(env.opener->opened, std::vector<std::string>{"App-prefs:root=General&path=About"});
}

TEST_F(IMEIViewControllerTest, AttachedPhotoIsUploadedInsteadOfTheTypedTextUntilRemoved) {
  // Answers without a text "url" are failures the person may retry.
  std::vector<Dictionary> answers = {Dictionary{{"filename", "a.png"}}, Dictionary{{"url", 7}},
                                     Dictionary{{"url", "https://assets/imei.png"}},
                                     Dictionary{{"url", "https://assets/sn.png"}}};
  int uploads = 0;
  screen->imageUploader = [&](const Image& image, IMEIViewController::UploadCompletion done) {
    EXPECT_EQ(image.bytes, (std::vector<std::uint8_t>{9, 8, 7}));
    EXPECT_TRUE(screen->loadingView->isShown());
    done(answers[static_cast<std::size_t>(uploads++)], std::nullopt);
  };
  env.picker->next = Image::encoded({9, 8, 7});
  press("uiBtAttachImage_TouchUpInside");
  EXPECT_FALSE(screen->outlet<ImageView>("uiIvImage").hidden);

  type("490154203237519");  // invalid, but ignored with a photo attached
  press("uiBtNext_TouchUpInside");
  for (int retry = 0; retry < 2; ++retry) {
    ASSERT_TRUE(alert());
    EXPECT_EQ(alert()->title(), "A server error occurred.");
    alert()->performAction(0);  // try again
    settle();
  }
  ASSERT_EQ(recorder->successes.size(), 1u);
  EXPECT_EQ(recorder->successes[0].imeiUrl, "https://assets/imei.png");
  EXPECT_FALSE(recorder->successes[0].imei);

  // In serial mode the photo is the serial number's.
  press("uiRBSerialNumber_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  ASSERT_EQ(recorder->successes.size(), 2u);
  EXPECT_EQ(recorder->successes[1].serialUrl, "https://assets/sn.png");
  EXPECT_FALSE(recorder->successes[1].imeiUrl);

  // Removing the photo brings the typed text back into play.
  press("uiBtRemoveImage_TouchUpInside");
  EXPECT_TRUE(screen->outlet<ImageView>("uiIvImage").hidden);
  type("SN-2");
  press("uiBtNext_TouchUpInside");
  EXPECT_EQ(recorder->successes.back().serial, "SN-2");
}

// An attempt given up on may still answer: only the latest upload's answer counts. (A client that
// answers one upload twice is caught by the random runs' report relay.)
TEST_F(IMEIViewControllerTest, OnlyTheLatestUploadsAnswerCounts) {
  std::vector<IMEIViewController::UploadCompletion> sent;
  screen->imageUploader = [&](const Image&, IMEIViewController::UploadCompletion done) {
    sent.push_back(std::move(done));
  };
  auto answer = [&](std::size_t upload, Dictionary response) {
    sent[upload](std::move(response), std::nullopt);
    settle();
  };
  env.picker->next = Image::encoded({4});
  press("uiBtAttachImage_TouchUpInside");
  press("uiBtNext_TouchUpInside");
  answer(0, Dictionary{{"filename", "a.png"}});
  ASSERT_TRUE(alert());
  alert()->performAction(0);  // try again
  settle();
  ASSERT_EQ(sent.size(), 2u);
  answer(0, Dictionary{{"url", "https://assets/late.png"}});
  EXPECT_TRUE(recorder->successes.empty());
  answer(1, Dictionary{{"url", "https://assets/imei.png"}});
  ASSERT_EQ(recorder->successes.size(), 1u);
  EXPECT_EQ(recorder->successes[0].imeiUrl, "https://assets/imei.png");
}

}  // namespace
