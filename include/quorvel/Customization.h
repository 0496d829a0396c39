#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Color.h"
#include "quorvel/Export.h"
#include "quorvel/Image.h"

namespace quorvel {

// Corner style of the SDK's main buttons.
enum class BorderType : int {
  capsule = 0,  // half of the button's height
  rounded = 1,  // 5 points
  square = 2,   // no rounding
};

// BorderType from its raw value; no value outside 0...2.
QUORVEL_EXPORT std::optional<BorderType> makeBorderType(int rawValue);

// The corner radius that a button of the given height gets with this border type.
QUORVEL_EXPORT double cornerRadius(BorderType type, double buttonHeight);

struct QUORVEL_EXPORT ButtonsStyle {
  BorderType borderType = BorderType::capsule;
  std::optional<Color> backgroundColor;
  Color foregroundColor = Color::white();

  ButtonsStyle() = default;
  ButtonsStyle(BorderType border, std::optional<Color> background, Color foreground)
      : borderType(border), backgroundColor(background), foregroundColor(foreground) {}
};

// Overrides of one screen's texts, images and colours, keyed by ScreenCustomizationKeys.
class QUORVEL_EXPORT CustomizableScreen {
 public:
  CustomizableScreen(std::string screenType,
                     std::optional<std::map<std::string, std::string>> copyStrings = std::nullopt,
                     std::optional<std::map<std::string, Image>> images = std::nullopt,
                     std::optional<Color> backgroundColor = std::nullopt,
                     std::optional<Color> textColor = std::nullopt,
                     std::optional<Color> textAccentColor = std::nullopt);

  std::string screenType;
  std::optional<std::map<std::string, std::string>> copyStrings;
  std::optional<std::map<std::string, Image>> images;
  std::optional<Color> backgroundColor;
  std::optional<Color> textColor;
  std::optional<Color> textAccentColor;

  // The override under key when there is a non-empty one, else defaultValue.
  std::string getCopyForKey(const std::string& key, const std::string& defaultValue) const;
  // The image override under key, if any.
  std::optional<Image> getImageForKey(const std::string& key) const;
};

// The host's appearance settings for a run. Defaults derive from the theme colour, read once when
// the object is created: QuorvelSDK::shared().themeColor with alpha forced to 1, else RGB
// 11/123/251.
class QUORVEL_EXPORT Customization {
 public:
  Customization();

  Color skipTestButtonColor;
  Color customNavigationBarBackgroundColor;
  Color customNavigationBarTextColor;
  Color customNavigationBarButtonsTextColor;
  Color progressBarBackgroundColor;
  Color progressBarSelectedColor;
  ButtonsStyle buttonsStyle;
  std::vector<CustomizableScreen> customScreens;

  // The first override for screenType, or null when the host gave none.
  const CustomizableScreen* screen(const std::string& screenType) const;

  // The colour the SDK uses where no host colour is set.
  static constexpr Color defaultThemeColor() { return Color::rgb(11, 123, 251); }
  // QuorvelSDK::shared().themeColor made opaque, or the default theme colour.
  static Color currentThemeColor();
};

}  // namespace quorvel
