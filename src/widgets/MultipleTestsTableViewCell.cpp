#include "widgets/MultipleTestsTableViewCell.h"

#include "quorvel/Fatal.h"
#include "quorvel/ScreenCustomizationKeys.h"
#include "quorvel/ScreenType.h"
#include "quorvel/ui/Elements.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

namespace {

namespace charging = ScreenCustomizationKeys::charging_v2;
namespace buttons = ScreenCustomizationKeys::buttons_v2;

// Where a row's texts and icon come from: the host's override keys, else the copy and the bundle.
struct RowSource {
  const std::string& screenType;
  const std::string& titleKey;
  const char* titleCopy;
  const std::string& descriptionKey;
  const char* descriptionCopy;
  const std::string& imageKey;
  const char* icon;
};

RowSource sourceOf(const std::string& rowKey) {
  if (rowKey == ScreenType::charging_v2) {
    return {charging::charging_v2,
            charging::Copy::title,
            "multiple_tests_v2_charging_title",
            charging::Copy::text,
            "multiple_tests_v2_charging_description",
            charging::Elements::image,
            "iconPowerCable"};
  }
  if (rowKey == ScreenType::buttons_v2_volume_up) {
    return {buttons::buttons_v2,
            buttons::Copy::title_volume_up,
            "multiple_tests_v2_volume_up_title",
            buttons::Copy::description_volume_up,
            "multiple_tests_v2_volume_up_description",
            buttons::Elements::image_volume_up,
            "iconVolumeUp"};
  }
  if (rowKey == ScreenType::buttons_v2_volume_down) {
    return {buttons::buttons_v2,
            buttons::Copy::title_volume_down,
            "multiple_tests_v2_volume_down_title",
            buttons::Copy::description_volume_down,
            "multiple_tests_v2_volume_down_description",
            buttons::Elements::image_volume_down,
            "iconVolumeDown"};
  }
  QUORVEL_FATAL("no combined-tests row " + rowKey);
}

const Color kSuccessColor = Color::rgb(52, 199, 89);
const Color kFailedColor = Color::rgb(255, 59, 48);

}  // namespace

MultipleTestsTableViewCell MultipleTestsTableViewCell::make(const ScreenContext& context,
                                                            const std::string& rowKey,
                                                            TestViewState state) {
  RowSource source = sourceOf(rowKey);
  ScreenAppearance look(context, source.screenType);
  MultipleTestsTableViewCell cell;
  cell.key = rowKey;
  cell.title = look.text(source.titleKey, source.titleCopy);
  cell.description = look.text(source.descriptionKey, source.descriptionCopy);
  cell.icon = look.image(source.imageKey).value_or(Image::asset(source.icon, true));
  cell.state = state;
  if (state == TestViewState::success) cell.statusLabel = look.copy("accessibility_test_passed");
  if (state == TestViewState::failed) cell.statusLabel = look.copy("accessibility_test_failed");
  cell.titleColor = look.textAccentColor();
  cell.descriptionColor = look.textColor();
  cell.accentColor = look.themeColor();
  return cell;
}

Dictionary MultipleTestsTableViewCell::toJson() const {
  // The row under test stands out in the theme colour, finished rows show their outcome, and the
  // rows still waiting are dimmed.
  Dictionary status = nullptr;
  Color border = Color::clear();
  double alpha = 1.0;
  switch (state) {
    case TestViewState::focused:
      border = accentColor;
      break;
    case TestViewState::success:
      status = {{"image", quorvel::toJson(Image::asset("checkmark.circle.fill", true))},
                {"tintColor", kSuccessColor.hex()},
                {"accessibilityLabel", statusLabel}};
      break;
    case TestViewState::failed:
      status = {{"image", quorvel::toJson(Image::asset("xmark.circle.fill", true))},
                {"tintColor", kFailedColor.hex()},
                {"accessibilityLabel", statusLabel}};
      break;
    case TestViewState::unfocused:
      alpha = 0.4;
      break;
  }
  return {{"cell", reuseIdentifier},
          {"key", key},
          {"title", title},
          {"titleColor", titleColor.hex()},
          {"description", description},
          {"descriptionColor", descriptionColor.hex()},
          {"icon", quorvel::toJson(icon)},
          {"iconTintColor", accentColor.hex()},
          {"state", static_cast<int>(state)},
          {"status", status},
          {"borderColor", border.hex()},
          {"alpha", alpha}};
}

}  // namespace quorvel
