#include <gtest/gtest.h>

#include "device/IMEIViewController.h"
#include "quorvel/ui/AlertController.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;

TEST(IMEIValidityTest, FifteenDigitsWithALuhnChecksum) {
  struct Case {
    const char* text;
    bool valid;
  };
  for (const auto& c : std::vector<Case>{
           {"490154203237518", true},
           {"490154203237519", false},       // last digit changed
           {"\t49015 42032 37518\n", true},  // blanks anywhere are removed
           {"49015420323751", false},        // 14 digits
           {"4901542032375180", false},      // 16 digits
           {"49015420323751A", false},
           {"000000000000000", true},    // checksum only, as on the device
           {"４90154203237518", false},  // a full-width digit is not a decimal digit
           {"", false},
       }) {
    EXPECT_EQ(IMEIViewController::isValidIMEI(c.text), c.valid) << c.text;
  }
}

class IMEIViewControllerTest : public quorvel::testing::SdkFixture {
 protected:
  struct Reported {
    std::optional<std::string> imei, imeiUrl, serial, serialUrl;
  };
  struct Recorder : IMEIViewControllerDelegate {
    std::vector<Reported> successes;
    int errors = 0;
    int cancels = 0;
    void IMEIViewControllerIMEIInputSuccessful(IMEIViewController&, std::optional<std::string> a,
                                               std::optional<std::string> b,
                                               std::optional<std::string> c,
                                               std::optional<std::string> d) override {
      successes.push_back({a, b, c, d});
    }
    void IMEIViewControllerErrorOccurred(IMEIViewController&) override { ++errors; }
    void IMEIViewControllerPressedCancel(IMEIViewController&) override { ++cancels; }
  };

  void SetUp() override {
    SdkFixture::SetUp();
    hostWithPlainScreen();
    screen = std::make_shared<IMEIViewController>();
    screen->delegate = recorder;
    screen->loadViewIfNeeded();
  }

  void type(const std::string& text) { screen->textFieldDidChange("uiTfIMEI", text); }
  void send(const std::string& action) {
    ASSERT_TRUE(screen->sendAction(action));
    settle();
  }
  std::shared_ptr<AlertController> alert() const {
    return std::dynamic_pointer_cast<AlertController>(screen->presentedViewController());
  }

  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::shared_ptr<IMEIViewController> screen;
};

TEST_F(IMEIViewControllerTest, ModesSwitchPlaceholderAndKeyboardAndKeepTheText) {
  const auto& field = screen->outlet<TextField>("uiTfIMEI");
  EXPECT_TRUE(screen->outlet<RadioButton>("uiRBIMEI").isChecked);
  EXPECT_EQ(field.placeholder, "Enter IMEI number");
  EXPECT_EQ(field.keyboardType, KeyboardType::numberPad);
  type("C02XYZ");
  send("uiRBSerialNumber_TouchUpInside");
  EXPECT_FALSE(screen->outlet<RadioButton>("uiRBIMEI").isChecked);
  EXPECT_TRUE(screen->outlet<RadioButton>("uiRBSerialNumber").isChecked);
  EXPECT_EQ(field.placeholder, "Enter serial number");
  EXPECT_EQ(field.keyboardType, KeyboardType::standard);
  EXPECT_EQ(field.text, "C02XYZ");
}

TEST_F(IMEIViewControllerTest, NextReportsTrimmedValuesAndRejectsInvalidIMEIs) {
  type("   \n");
  send("uiBtNext_TouchUpInside");
  EXPECT_TRUE(recorder->successes.empty());
  EXPECT_FALSE(alert());

  type("490154203237519");
  send("uiBtNext_TouchUpInside");
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title(), "The value is not a valid IMEI number");
  ASSERT_EQ(alert()->actions().size(), 1u);
  alert()->performAction(0);
  EXPECT_FALSE(alert());
  EXPECT_TRUE(recorder->successes.empty());

  type(" 49015 42032 37518 \n");
  send("uiBtNext_TouchUpInside");
  send("uiRBSerialNumber_TouchUpInside");
  type("  not-checked serial ");
  send("uiBtNext_TouchUpInside");
  ASSERT_EQ(recorder->successes.size(), 2u);
  EXPECT_EQ(recorder->successes[0].imei, "49015 42032 37518");
  EXPECT_FALSE(recorder->successes[0].imeiUrl || recorder->successes[0].serial ||
               recorder->successes[0].serialUrl);
  EXPECT_EQ(recorder->successes[1].serial, "not-checked serial");
  EXPECT_FALSE(recorder->successes[1].imei);
}

TEST_F(IMEIViewControllerTest, AttachedPhotoIsUploadedInsteadOfTheTypedText) {
  std::vector<Dictionary> answers = {Dictionary{{"filename", "a.png"}},  // no url
                                     Dictionary{{"url", 7}},             // not a string
                                     Dictionary{{"url", "https://assets/imei.png"}}};
  int uploads = 0;
  screen->imageUploader = [&](const Image& image, IMEIViewController::UploadCompletion done) {
    EXPECT_EQ(image.bytes, (std::vector<std::uint8_t>{9, 8, 7}));
    EXPECT_TRUE(screen->loadingView->isShown());
    done(answers[static_cast<std::size_t>(uploads++)], std::nullopt);
  };
  env.picker->next = Image::encoded({9, 8, 7});
  send("uiBtAttachImage_TouchUpInside");
  EXPECT_FALSE(screen->outlet<ImageView>("uiIvImage").hidden);
  EXPECT_TRUE(screen->outlet<View>("uiViewNoImage").hidden);

  type("490154203237519");  // invalid, but ignored with a photo attached
  send("uiBtNext_TouchUpInside");
  ASSERT_TRUE(alert());
  EXPECT_EQ(alert()->title(), "A server error occurred.");
  alert()->performAction(0);  // try again
  settle();
  ASSERT_TRUE(alert());
  alert()->performAction(0);
  settle();
  EXPECT_EQ(uploads, 3);
  ASSERT_EQ(recorder->successes.size(), 1u);
  EXPECT_EQ(recorder->successes[0].imeiUrl, "https://assets/imei.png");
  EXPECT_FALSE(recorder->successes[0].imei);
  env.queue->advance(0.1);
  EXPECT_FALSE(screen->loadingView->isShown());
}

TEST_F(IMEIViewControllerTest, PhotoInSerialModeReportsTheSerialAddressAndCancelReportsError) {
  bool succeed = true;
  screen->imageUploader = [&](const Image&, IMEIViewController::UploadCompletion done) {
    if (succeed) {
      done(Dictionary{{"url", "https://assets/sn.png"}}, std::nullopt);
    } else {
      done(std::nullopt, "connection refused");
    }
  };
  env.picker->next = Image::encoded({1});
  send("uiBtAttachImage_TouchUpInside");
  send("uiRBSerialNumber_TouchUpInside");
  send("uiBtNext_TouchUpInside");
  ASSERT_EQ(recorder->successes.size(), 1u);
  EXPECT_EQ(recorder->successes[0].serialUrl, "https://assets/sn.png");

  succeed = false;
  send("uiBtNext_TouchUpInside");
  alert()->performAction(1);
  EXPECT_EQ(recorder->errors, 1);

  // Removing the photo brings the typed text back into play.
  send("uiBtRemoveImage_TouchUpInside");
  EXPECT_FALSE(screen->imeiImage());
  EXPECT_TRUE(screen->outlet<ImageView>("uiIvImage").hidden);
  type("SN-2");
  send("uiBtNext_TouchUpInside");
  EXPECT_EQ(recorder->successes.back().serial, "SN-2");
}

TEST_F(IMEIViewControllerTest, SettingsLinkAndCancel) {
  const auto& description = screen->outlet<Label>("uiLbDescription");
  EXPECT_EQ(description.link, "General / About");
  send(description.linkAction);
  EXPECT_EQ(env.opener->opened, std::vector<std::string>{"App-prefs:root=General&path=About"});
  send("uiBtCancel_TouchUpInside");
  EXPECT_EQ(recorder->cancels, 1);
}

TEST_F(IMEIViewControllerTest, HostOverridesApplyInPortugueseToo) {
  ScreenContext context;
  context.language = SupportedLanguage::portuguese;
  auto custom = std::make_shared<Customization>();
  custom->customScreens.emplace_back(
      "imei_screen",
      std::map<std::string, std::string>{
          {"title", "Identifique o aparelho"}, {"text", "Veja em %1$@ > %2$@."}, {"or", ""}});
  context.customization = custom;
  auto portuguese = std::make_shared<IMEIViewController>(context);
  portuguese->loadViewIfNeeded();
  EXPECT_EQ(portuguese->outlet<Label>("uiLbTitle").text, "Identifique o aparelho");
  EXPECT_EQ(portuguese->outlet<Label>("uiLbDescription").text,
            "Veja em Definições > Geral / Informações.");
  EXPECT_EQ(portuguese->outlet<Label>("uiLbOr").text,
            Localization::copy("or", SupportedLanguage::portuguese));
}

TEST_F(IMEIViewControllerTest, WithoutAPhotoPickerThePhotoRouteIsHidden) {
  Platform p = platform();
  p.imagePicker = nullptr;
  installPlatform(p);
  // installPlatform fills the gap from the default platform, which has no picker either.
  auto plain = std::make_shared<IMEIViewController>();
  plain->loadViewIfNeeded();
  EXPECT_TRUE(plain->outlet<Button>("uiBtAttachImage").hidden);
  EXPECT_TRUE(plain->outlet<Label>("uiLbAttachText").hidden);
}

}  // namespace
