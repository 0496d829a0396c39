#include "tests/video/DeviceFrontVideoViewController.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "device/CryptoHelper.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/Application.h"
#include "quorvel/ui/LoadingView.h"
#include "support/Logging.h"
#include "support/Timestamp.h"
#include "tests/RecordingUpload.h"
#include "tests/video/ColourSequence.h"
#include "tests/video/QRCodeHelper.h"

namespace quorvel {

DeviceFrontVideoViewController::DeviceFrontVideoViewController(std::string interfaceName,
                                                               std::string testKey,
                                                               std::string version,
                                                               bool customizable,
                                                               ScreenContext context)
    : TestViewController(std::move(interfaceName), std::move(testKey), "uiHeaderView",
                         std::move(context)),
      version_(std::move(version)),
      customizable_(customizable) {
  registerAction("uiBtTryAgain_TouchUpInside", [this] { showInitialStep(); });
  registerAction("uiBtInfo_TouchUpInside", [this] { showInfo(); });
  registerAction("uiBtPlayVideo_TouchUpInside", [this] { playVideo(); });
  // The review's own way out, the same as the could-not-complete button's.
  registerAction("uiBtVideoReviewCouldntComplete_TouchUpInside",
                 [this] { couldNotCompleteTest(); });
  // The name keeps its missing "i": hosts' interfaces already send it so.
  // compat: "Insde", the action name interfaces already send.
  registerAction("uiBtVideoReviewNext_TouchUpInsde", [this] { submit(); });
}

DeviceFrontVideoViewController::~DeviceFrontVideoViewController() { stopEverything(); }

std::string DeviceFrontVideoViewController::moviePath() const {
  return documentsFile("output.mov");
}

std::string DeviceFrontVideoViewController::renderedMoviePath() const {
  return documentsFile("rendered-Video.mp4");
}

void DeviceFrontVideoViewController::viewDidLoad() {
  TestViewController::viewDidLoad();
  view()->backgroundColor = look().backgroundColor();
  look().styleTitle(*lbTitle_);
  look().styleBody(*lbDescription_);
  look().styleTitle(*lbVideoReviewTitle_);
  look().styleBody(*lbVideoReviewDescription_);
  for (Outlet<Button>* button : {&btNext_, &btVideoReviewNext_}) look().styleMainButton(**button);
  auto& couldNotComplete = *btVideoReviewCouldntComplete_;
  couldNotComplete.title = look().copy("could_not_complete_test");
  couldNotComplete.titleColor = look().customization().skipTestButtonColor;
  auto& info = *btInfo_;
  info.image = Image::asset("info.circle", true);
  info.tintColor = look().themeColor();
  info.accessibilityLabel = look().copy("accessibility_more_information");
  auto& play = *btPlayVideo_;
  play.image = Image::asset("play.circle.fill", true);
  play.tintColor = Color::white();
  play.accessibilityLabel = look().copy("accessibility_play_video");
  btTryAgain_->titleColor = look().themeColor();

  // Read in the mirror, the label must be written backwards.
  auto& label = *lbMD5_;
  label.mirrored = true;
  const std::string seed = look().context().deviceInfoSHA256 + currentTimestamp();
  md5_ = CryptoHelper::hexString(CryptoHelper::md5(seed));
  label.text = md5_;
  showInitialStep();
}

void DeviceFrontVideoViewController::viewWillDisappear(bool animated) {
  TestViewController::viewWillDisappear(animated);
  stopEverything();
}

std::string DeviceFrontVideoViewController::text(const std::string& overrideKey,
                                                 std::string_view copyKey) const {
  return customizable_ ? look().text(overrideKey, copyKey) : look().copy(copyKey);
}

std::string DeviceFrontVideoViewController::qrCodeText(bool start) const {
  std::string text = start ? "start;" : "end;";
  const std::string& imei = look().context().imei;
  auto vendorID = ports().device->identifierForVendor();
  if (!imei.empty()) {
    text += "imei=" + imei + ";";
  } else if (vendorID && !vendorID->empty()) {
    std::string upper = *vendorID;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    text += "vendorID=" + upper + ";";
  } else {
    text += "no_identifier;";
  }
  return text + currentTimestamp();
}

void DeviceFrontVideoViewController::showStartCode() {
  startQRCode_ = qrCodeText(true);
  showCode(startQRCode_);
}

void DeviceFrontVideoViewController::showCode(const std::string& text) {
  auto& image = *image_;
  image.image = QRCodeHelper::generateQRCode(text);
  image.tintColor.reset();
  image.hidden = false;
}

void DeviceFrontVideoViewController::playSound(const std::string& assetName) {
  // Whatever an earlier screen left, cues sound from the loudspeaker while the camera records.
  if (!preparePlayAndRecord(true)) return;
  ports().audioPlayer->playAsset(assetName, [](bool) {});
}

void DeviceFrontVideoViewController::showScanningNotSupported() {
  setSession(nullptr);
  auto controller = AlertController::make(
      "Scanning not supported",
      "Your device does not support scanning a code from an item. Please use a device with a "
      "camera.");
  controller->addAction({"OK", AlertActionStyle::standard, nullptr});
  present(controller, true);
}

void DeviceFrontVideoViewController::setSession(std::shared_ptr<CameraSession> session) {
  if (session_ && session_ != session) session_->stop();
  session_ = std::move(session);
}

bool DeviceFrontVideoViewController::startRecording() {
  auto finished = whileAlive<std::optional<std::string>>(
      [this](std::optional<std::string> error) { recordingEnded(error); });
  if (!session_ || !session_->startRecording(moviePath(), finished)) {
    showScanningNotSupported();
    return false;
  }
  recording_ = true;
  return true;
}

void DeviceFrontVideoViewController::stopRecording() {
  if (session_) session_->stopRecording();
}

void DeviceFrontVideoViewController::recordingEnded(const std::optional<std::string>& error) {
  if (error) logLine("The recording could not be written: " + *error);
  recording_ = false;
  auto waiting = std::move(afterRecording_);
  afterRecording_.clear();
  for (auto& work : waiting) work();
}

void DeviceFrontVideoViewController::whenRecordingEnds(std::function<void()> work) {
  if (recording_) {
    afterRecording_.push_back(std::move(work));
  } else {
    work();
  }
}

void DeviceFrontVideoViewController::after(double delaySeconds, std::function<void()> work) {
  std::weak_ptr<ViewController> weak = weak_from_this();
  pending_.push_back(ports().mainQueue->asyncAfter(delaySeconds, [weak, work] {
    if (auto self = weak.lock()) work();
  }));
}

void DeviceFrontVideoViewController::stopEverything() {
  for (auto& item : pending_) item->cancel();
  pending_.clear();
  afterRecording_.clear();
  recording_ = false;
  setSession(nullptr);
}

void DeviceFrontVideoViewController::runColourSequence(std::function<void()> atEndCode,
                                                       std::function<void()> atEnd) {
  showViews(false, true, false);
  // Every step counts from this one moment, so a late step does not delay the ones after it.
  for (const auto& step : colour_sequence::kSteps) {
    auto show = [this, step] {
      colorsView_->backgroundColor = step.background;
      lbMD5_->textColor = step.label;
    };
    if (step.at == 0) {
      show();
    } else {
      after(step.at, show);
    }
  }
  after(colour_sequence::kEndCodeAt, [this, atEndCode] {
    step_ = Step::endCode;
    endQRCode_ = qrCodeText(false);
    showViews(true, false, false);
    showCode(endQRCode_);
    atEndCode();
  });
  after(colour_sequence::kEndAt, std::move(atEnd));
}

void DeviceFrontVideoViewController::showViews(bool initial, bool colours, bool review) {
  initialView_->hidden = !initial;
  colorsView_->hidden = !colours;
  videoView_->hidden = !review;
}

void DeviceFrontVideoViewController::showInitialStep() {
  stopEverything();
  step_ = Step::initial;
  showViews(true, false, false);
  lbTitle_->text = text("initial_title", "screen_test_title_initial");
  lbDescription_->text = text("initial_description", "screen_test_description_initial");
  auto& image = *image_;
  auto hostImage = customizable_ ? look().image("image_initial_screen") : std::nullopt;
  image.image = hostImage.value_or(Image::asset("imageMirrorTest"));
  image.hidden = false;
  auto& next = *btNext_;
  next.title = text("initial_next_button", "next");
  next.hidden = false;
  btCouldntCompleteTest_->hidden = false;
  initialShown();
}

void DeviceFrontVideoViewController::showReviewStep() {
  step_ = Step::review;
  showViews(false, false, true);
  lbVideoReviewTitle_->text = text("video_review_title", "screen_test_title_video_review");
  lbVideoReviewDescription_->text =
      text("video_review_description", "screen_test_description_video_review");
  btVideoReviewNext_->title = text("video_review_next_button", "next");
  btTryAgain_->title = text("video_review_try_again", "try_again");
  videoReviewImage_->image.reset();
  whenRecordingEnds([this] { showThumbnail(); });
  reviewShown();
}

void DeviceFrontVideoViewController::showThumbnail() {
  if (step_ != Step::review) return;
  auto picture = ports().mediaExport->thumbnail(moviePath());
  if (!picture) logLine("The recording has no picture to show: " + moviePath());
  videoReviewImage_->image = std::move(picture);
}

void DeviceFrontVideoViewController::showInfo() { alert("", infoText()); }

void DeviceFrontVideoViewController::playVideo() {
  // Holds nothing of the screen: it may be gone when the player closes.
  ports().videoPlayback->play(moviePath(), [](const std::string& problem) {
    if (!problem.empty()) logLine("The recording could not be played: " + problem);
  });
}

void DeviceFrontVideoViewController::submit() {
  if (step_ != Step::review) return;
  step_ = Step::uploading;
  loadingView_ = std::make_shared<LoadingView>();
  loadingView_->show(ports().application->keyWindow());

  whenRecordingEnds([this] {
    std::error_code ignored;
    std::filesystem::remove(renderedMoviePath(), ignored);
    auto queue = ports().mainQueue;
    std::weak_ptr<ViewController> weak = weak_from_this();
    ports().mediaExport->exportMP4(
        moviePath(), renderedMoviePath(), [queue, weak](std::optional<std::string> error) {
          if (error) logLine("The recording could not be converted: " + *error);
          queue->async([weak, succeeded = !error] {
            auto self = std::static_pointer_cast<DeviceFrontVideoViewController>(weak.lock());
            if (self) self->exported(succeeded);
          });
        });
  });
}

void DeviceFrontVideoViewController::exported(bool succeeded) {
  if (step_ != Step::uploading) return;
  const std::string file = succeeded ? renderedMoviePath() : moviePath();
  RecordingUpload::send(look().context(), file, moviePath(), weak_from_this(),
                        [this](std::optional<std::string> url) { uploaded(url); });
}

void DeviceFrontVideoViewController::uploaded(const std::optional<std::string>& url) {
  if (step_ != Step::uploading) return;
  if (loadingView_) loadingView_->fadeOutAndRemove(0.1);
  finish(result(url.has_value(), url));
}

void DeviceFrontVideoViewController::finish(const Dictionary& outcome) {
  stopEverything();
  step_ = Step::done;
  report(outcome);
}

void DeviceFrontVideoViewController::couldNotCompleteTest() {
  if (step_ == Step::uploading || step_ == Step::done) return;
  finish(result(false));
}

void DeviceFrontVideoViewController::cancelTest() {
  if (step_ == Step::uploading || step_ == Step::done) return;
  stopEverything();
  step_ = Step::done;
  reportCancelled();
}

Dictionary DeviceFrontVideoViewController::result(bool success,
                                                  const std::optional<std::string>& url) const {
  Dictionary values = stamped({{"success", success}, {"version", version_}});
  if (url) values["url"] = *url;
  if (success) {
    values["md5"] = md5_;
    values["start_qr_code"] = startQRCode_;
    values["end_qr_code"] = endQRCode_;
  }
  return values;
}

}  // namespace quorvel
