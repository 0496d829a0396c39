#include "screens/StartViewController.h"

#include <algorithm>

#include "device/Model.h"
#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "support/Logging.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

namespace keys = ScreenCustomizationKeys::start_screen;

namespace {

bool holdsAny(const std::vector<std::string>& list, std::initializer_list<std::string> keys) {
  return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
    return std::find(list.begin(), list.end(), key) != list.end();
  });
}

void showValue(View& line, Label& value, const std::optional<std::string>& text) {
  bool shown = text && !text->empty();
  line.hidden = !shown;
  value.text = shown ? *text : "";
}

}  // namespace

StartViewController::StartViewController(ScreenContext context, RunOutline run)
    : ViewController("StartViewController"),
      look_(std::move(context), ScreenType::start_screen),
      run_(std::move(run)) {
  registerAction("uiBtNext_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->StartViewControlllerViewPressedStart(*this);
  });
  registerAction("uiBtBack_TouchUpInside", [this] {
    logLine("StartViewController pressed back");
    if (auto target = delegate.lock()) target->StartViewControlllerViewPressedCancel(*this);
  });
}

void StartViewController::viewDidLoad() {
  view()->backgroundColor = look_.backgroundColor();

  auto& back = *btBack_;
  back.title = look_.copy("back");
  back.image = Image::asset("chevron.backward", true);
  back.titleColor = look_.themeColor();
  back.tintColor = look_.themeColor();

  auto& illustration = *image_;
  illustration.image =
      look_.image(keys::Elements::image).value_or(Image::asset("start_illustration"));

  auto& title = *lbTitle_;
  title.text = look_.text(keys::Copy::title, "start_screen_title");
  look_.styleTitle(title);
  auto& description = *lbDescription_;
  description.text = look_.text(keys::Copy::text, "start_screen_description");
  look_.styleBody(description);

  auto& model = *lbPhoneModel_;
  model.text = std::string(rawValue(currentDeviceType(*look_.context().ports.device)));
  look_.styleTitle(model);

  // The title reads the table under "imei", which holds no such key: it shows "imei".
  lbIMEITitle_->text = look_.copy("imei");
  showValue(*stackViewIMEI_, *lbIMEIValue_, run_.imei);
  lbSNTitle_->text = look_.copy("serial_number_abbreviation");
  showValue(*stackViewSerialNumber_, *lbSNValue_, run_.serialNumber);
  for (Outlet<Label>* label : {&lbIMEITitle_, &lbSNTitle_}) look_.styleBody(**label);
  for (Outlet<Label>* label : {&lbIMEIValue_, &lbSNValue_}) look_.styleTitle(**label);

  auto& suggestionsTitle = *lbSuggestionsTitle_;
  suggestionsTitle.text =
      look_.text(keys::Copy::testsWarning_title, "start_screen_suggestions_title");
  look_.styleTitle(suggestionsTitle);
  auto& charging = *lbSuggestionChargingCable_;
  charging.text =
      look_.text(keys::Copy::testsWarning_charging, "start_screen_suggestion_charging_cable");
  auto& mirror = *lbSuggestionMirror_;
  mirror.text = look_.text(keys::Copy::testsWarning_camera, "start_screen_suggestion_mirror");
  auto& noise = *lbSuggestionNoise_;
  noise.text = look_.text(keys::Copy::testsWarning_audio, "start_screen_suggestion_noise");
  for (Label* hint : {&charging, &mirror, &noise}) look_.styleBody(*hint);

  auto& next = *btNext_;
  next.title = look_.copy("start_screen_next_button");
  look_.styleMainButton(next);

  configureSuggestions();
}

void StartViewController::configureSuggestions() {
  const auto& selected = run_.selectedTests;
  auto& block = *viewSuggestions_;
  block.hidden = true;

  bool combinedCharging = holdsAny(selected, {ScreenType::multiple_tests_v2}) &&
                          holdsAny(run_.multipleTestsList, {ScreenType::charging_v2});
  bool charging =
      holdsAny(selected, {ScreenType::charging_v1, ScreenType::charging_v2}) || combinedCharging;
  bool mirror =
      holdsAny(selected, {ScreenType::device_front_video_v1, ScreenType::device_front_video_v2});
  bool noise = holdsAny(
      selected, {ScreenType::earspeaker_v1, ScreenType::loudspeaker_v1, ScreenType::read_text_v1,
                 ScreenType::speaker_recording_v1, ScreenType::device_front_video_v2});

  lbSuggestionChargingCable_->hidden = !charging;
  lbSuggestionMirror_->hidden = !mirror;
  lbSuggestionNoise_->hidden = !noise;
  block.hidden = !(charging || mirror || noise);
}

}  // namespace quorvel
