#include "device/IMEIViewController.h"

#include "backend/AssetUploaderWebService.h"
#include "quorvel/Fatal.h"
#include "quorvel/Localization.h"
#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/Application.h"
#include "support/JsonText.h"
#include "support/MainQueueCheck.h"
#include "support/Utf8.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

namespace keys = ScreenCustomizationKeys::imei_screen;

namespace {

// Where the system lists the device's IMEI and serial number.
constexpr const char* kSettingsPageURL = "App-prefs:root=General&path=About";

}  // namespace

bool IMEIViewController::isValidIMEI(std::string_view text) {
  std::string digits = removingWhitespace(text);
  if (digits.size() != 15) return false;
  int sum = 0;
  // From the right: the rightmost digit as it is, every second one doubled (less 9 above 9).
  for (std::size_t i = 0; i < digits.size(); ++i) {
    char c = digits[digits.size() - 1 - i];
    if (c < '0' || c > '9') return false;
    int digit = c - '0';
    if (i % 2 == 1) {
      digit *= 2;
      if (digit > 9) digit -= 9;
    }
    sum += digit;
  }
  return sum % 10 == 0;
}

IMEIViewController::IMEIViewController(ScreenContext context)
    : ViewController("IMEIViewController"), look_(std::move(context), ScreenType::imei_screen) {
  if (auto uploader = look_.context().uploader) {
    imageUploader = [uploader](const Image& image, UploadCompletion completion) {
      uploader->uploadImage(image, std::move(completion));
    };
  }
  registerAction("uiRBIMEI_TouchUpInside", [this] { setMode(Mode::imei); });
  registerAction("uiRBSerialNumber_TouchUpInside", [this] { setMode(Mode::serialNumber); });
  registerAction("uiBtNext_TouchUpInside", [this] { next(); });
  registerAction("uiBtCancel_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->IMEIViewControllerPressedCancel(*this);
  });
  registerAction("uiBtKeyboardDone_TouchUpInside", [this] { tfIMEI_->isFirstResponder = false; });
  registerAction("uiBtAttachImage_TouchUpInside", [this] {
    std::weak_ptr<ViewController> weak = weak_from_this();
    ports().imagePicker->pickImage(true, [weak](std::optional<Image> image) {
      auto self = std::static_pointer_cast<IMEIViewController>(weak.lock());
      if (self && image) self->setImage(std::move(image));
    });
  });
  registerAction("uiBtRemoveImage_TouchUpInside", [this] { setImage(std::nullopt); });
  registerAction("uiLbDescription_LinkTapped",
                 [this] { ports().urlOpener->open(kSettingsPageURL, [](bool) {}); });
}

void IMEIViewController::viewDidLoad() {
  view()->backgroundColor = look_.backgroundColor();

  auto& title = *lbTitle_;
  title.text = look_.text(keys::Copy::title, "imei_add_screen_title");
  look_.styleTitle(title);

  std::string path = look_.copy("imei_location_path_ios");
  auto& description = *lbDescription_;
  description.text =
      Localization::format(look_.text(keys::Copy::text, "imei_add_screen_description"),
                           {look_.copy("imei_settings"), path});
  description.link = path;
  description.linkAction = "uiLbDescription_LinkTapped";
  look_.styleBody(description);
  description.tintColor = look_.themeColor();

  rbIMEI_->title = look_.copy("imei_number");
  rbSerialNumber_->title = look_.copy("serial_number_abbreviation");
  for (Outlet<RadioButton>* button : {&rbIMEI_, &rbSerialNumber_}) {
    auto& radio = **button;
    radio.textColor = look_.textAccentColor();
    radio.tintColor = look_.themeColor();
  }

  auto& field = *tfIMEI_;
  field.textColor = look_.textAccentColor();
  field.tintColor = look_.themeColor();

  auto& orLabel = *lbOr_;
  orLabel.text = look_.text(keys::Copy::or_, "or");
  look_.styleBody(orLabel);
  auto& attachText = *lbAttachText_;
  attachText.text = look_.text(keys::Copy::attach_text_label, "imei_add_screen_attach_text");
  look_.styleBody(attachText);

  auto& attach = *btAttachImage_;
  attach.title = look_.text(keys::Copy::attach_button, "attach_image");
  attach.titleColor = look_.themeColor();
  attach.tintColor = look_.themeColor();
  // Without a photo picker on this platform, the photo route is not offered.
  bool canAttach = ports().imagePicker->available();
  for (Outlet<Label>* label : {&lbOr_, &lbAttachText_}) (*label)->hidden = !canAttach;
  attach.hidden = !canAttach;

  auto& remove = *btRemoveImage_;
  remove.image = Image::asset("xmark.circle.fill", true);
  remove.tintColor = look_.themeColor();
  remove.accessibilityLabel = look_.copy("accessibility_remove_image");

  auto& cancel = *btCancel_;
  cancel.title = look_.copy("cancel");
  cancel.titleColor = look_.themeColor();
  auto& next = *btNext_;
  next.title = look_.copy("next");
  look_.styleMainButton(next);
  btKeyboardDone_->title = look_.copy("done");

  imeiPlaceholder_ = look_.text(keys::Copy::textfield_placeholder, "imei_add_screen_placeholder");
  setMode(Mode::imei);
  setImage(std::nullopt);
}

void IMEIViewController::setMode(Mode mode) {
  mode_ = mode;
  rbIMEI_->isChecked = mode == Mode::imei;
  rbSerialNumber_->isChecked = mode == Mode::serialNumber;
  auto& field = *tfIMEI_;
  if (mode == Mode::imei) {
    field.placeholder = imeiPlaceholder_;
    field.keyboardType = KeyboardType::numberPad;
  } else {
    field.placeholder = look_.copy("add_screen_placeholder_serial_number");
    field.keyboardType = KeyboardType::standard;
  }
}

void IMEIViewController::setImage(std::optional<Image> image) {
  imeiImage_ = std::move(image);
  bool attached = imeiImage_.has_value();
  ivImage_->image = imeiImage_;
  ivImage_->hidden = !attached;
  btRemoveImage_->hidden = !attached;
  viewNoImage_->hidden = attached;
}

void IMEIViewController::next() {
  if (imeiImage_) {
    uploadImage();
    return;
  }
  std::string text = trimmingWhitespace(tfIMEI_->text);
  if (text.empty()) return;
  auto target = delegate.lock();
  if (mode_ == Mode::serialNumber) {
    if (target) target->IMEIViewControllerIMEIInputSuccessful(*this, {}, {}, text, {});
    return;
  }
  if (isValidIMEI(text)) {
    if (target) target->IMEIViewControllerIMEIInputSuccessful(*this, text, {}, {}, {});
    return;
  }
  showAlert(look_.copy("invalid_imei_number"), {{look_.copy("ok"), nullptr}});
}

void IMEIViewController::uploadImage() {
  // Without a key window no overlay holds the screen, so the photo can be removed while its
  // upload is out; "try again" then has nothing to send.
  if (!imeiImage_) return;
  loadingView->show(ports().application->keyWindow());
  std::weak_ptr<ViewController> weak = weak_from_this();
  // Taken here: the answer arrives on the HTTP client's thread, which never reads the platform.
  std::shared_ptr<MainQueue> queue = ports().mainQueue;
  // Only the first answer to the latest upload counts: a client that answers twice, or an earlier
  // attempt answering late, would report the identifier once more, even over the failure alert.
  const unsigned attempt = ++uploadAttempt_;
  uploadAnswered_ = false;
  auto finished = [weak, queue, attempt](std::optional<Dictionary> response,
                                         std::optional<std::string>) {
    queue->async([weak, attempt, response = std::move(response)] {
      checkOnMainQueue("the photo upload's answer");
      auto self = std::static_pointer_cast<IMEIViewController>(weak.lock());
      if (!self || attempt != self->uploadAttempt_ || self->uploadAnswered_) return;
      self->uploadAnswered_ = true;
      self->uploadFinished(response);
    });
  };
  if (!imageUploader)
    QUORVEL_FATAL("IMEIViewController has no uploader: it was made outside a run");
  imageUploader(*imeiImage_, finished);
}

void IMEIViewController::uploadFinished(const std::optional<Dictionary>& response) {
  std::string url = response ? stringValue(*response, "url") : "";
  if (!url.empty()) {
    loadingView->fadeOutAndRemove(0.1);
    if (auto target = delegate.lock()) {
      if (mode_ == Mode::imei) {
        target->IMEIViewControllerIMEIInputSuccessful(*this, {}, url, {}, {});
      } else {
        target->IMEIViewControllerIMEIInputSuccessful(*this, {}, {}, {}, url);
      }
    }
    return;
  }
  loadingView->removeFromWindow();
  showAlert(look_.copy("server_error"), {{look_.copy("try_again"), [this] { uploadImage(); }},
                                         {look_.copy("cancel"), [this] {
                                            if (auto target = delegate.lock())
                                              target->IMEIViewControllerErrorOccurred(*this);
                                          }}});
}

void IMEIViewController::showAlert(
    const std::string& title, std::vector<std::pair<std::string, std::function<void()>>> actions) {
  auto alert = AlertController::make(title, "");
  for (auto& [label, handler] : actions) {
    alert->addAction({label, AlertActionStyle::standard, std::move(handler)});
  }
  present(alert, true);
}

}  // namespace quorvel
