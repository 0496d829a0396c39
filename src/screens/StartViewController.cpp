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
  for (const char* name :
       {"uiHeaderView", "uiStackViewIMEI", "uiStackViewSerialNumber", "uiViewSuggestions"}) {
    registerOutlet<View>(name);
  }
  for (const char* name :
       {"uiLbTitle", "uiLbDescription", "uiLbPhoneModel", "uiLbIMEITitle", "uiLbIMEIValue",
        "uiLbSNTitle", "uiLbSNValue", "uiLbSuggestionsTitle", "uiLbSuggestionChargingCable",
        "uiLbSuggestionMirror", "uiLbSuggestionNoise"}) {
    registerOutlet<Label>(name);
  }
  registerOutlet<Button>("uiBtBack");
  registerOutlet<Button>("uiBtNext");
  registerOutlet<ImageView>("uiImage");

  registerAction("uiBtNext_TouchUpInside", [this] {
    if (auto target = delegate.lock()) target->StartViewControlllerViewPressedStart(*this);
  });
  registerAction("uiBtBack_TouchUpInside", [this] {
    logLine("StartViewController pressed back");
    if (auto target = delegate.lock()) target->StartViewControlllerViewPressedCancel(*this);
  });
}

void StartViewController::viewDidLoad() {
  outlet<View>("view").backgroundColor = look_.backgroundColor();

  auto& back = outlet<Button>("uiBtBack");
  back.title = look_.copy("back");
  back.image = Image::asset("chevron.backward", true);
  back.titleColor = look_.themeColor();
  back.tintColor = look_.themeColor();

  auto& illustration = outlet<ImageView>("uiImage");
  illustration.image =
      look_.image(keys::Elements::image).value_or(Image::asset("start_illustration"));

  auto& title = outlet<Label>("uiLbTitle");
  title.text = look_.text(keys::Copy::title, "start_screen_title");
  look_.styleTitle(title);
  auto& description = outlet<Label>("uiLbDescription");
  description.text = look_.text(keys::Copy::text, "start_screen_description");
  look_.styleBody(description);

  auto& model = outlet<Label>("uiLbPhoneModel");
  model.text = std::string(rawValue(currentDeviceType(*look_.context().ports.device)));
  look_.styleTitle(model);

  // The title reads the table under "imei", which holds no such key: it shows "imei".
  outlet<Label>("uiLbIMEITitle").text = look_.copy("imei");
  showValue(outlet<View>("uiStackViewIMEI"), outlet<Label>("uiLbIMEIValue"), run_.imei);
  outlet<Label>("uiLbSNTitle").text = look_.copy("serial_number_abbreviation");
  showValue(outlet<View>("uiStackViewSerialNumber"), outlet<Label>("uiLbSNValue"),
            run_.serialNumber);
  for (const char* name : {"uiLbIMEITitle", "uiLbSNTitle"}) look_.styleBody(outlet<Label>(name));
  for (const char* name : {"uiLbIMEIValue", "uiLbSNValue"}) look_.styleTitle(outlet<Label>(name));

  auto& suggestionsTitle = outlet<Label>("uiLbSuggestionsTitle");
  suggestionsTitle.text =
      look_.text(keys::Copy::testsWarning_title, "start_screen_suggestions_title");
  look_.styleTitle(suggestionsTitle);
  auto& charging = outlet<Label>("uiLbSuggestionChargingCable");
  charging.text =
      look_.text(keys::Copy::testsWarning_charging, "start_screen_suggestion_charging_cable");
  auto& mirror = outlet<Label>("uiLbSuggestionMirror");
  mirror.text = look_.text(keys::Copy::testsWarning_camera, "start_screen_suggestion_mirror");
  auto& noise = outlet<Label>("uiLbSuggestionNoise");
  noise.text = look_.text(keys::Copy::testsWarning_audio, "start_screen_suggestion_noise");
  for (Label* hint : {&charging, &mirror, &noise}) look_.styleBody(*hint);

  auto& next = outlet<Button>("uiBtNext");
  next.title = look_.copy("start_screen_next_button");
  look_.styleMainButton(next);

  configureSuggestions();
}

void StartViewController::configureSuggestions() {
  const auto& selected = run_.selectedTests;
  auto& block = outlet<View>("uiViewSuggestions");
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

  outlet<Label>("uiLbSuggestionChargingCable").hidden = !charging;
  outlet<Label>("uiLbSuggestionMirror").hidden = !mirror;
  outlet<Label>("uiLbSuggestionNoise").hidden = !noise;
  block.hidden = !(charging || mirror || noise);
}

}  // namespace quorvel
