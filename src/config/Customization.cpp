#include "quorvel/Customization.h"

namespace quorvel {

std::optional<BorderType> makeBorderType(int rawValue) {
  if (rawValue < 0 || rawValue > 2) return std::nullopt;
  return static_cast<BorderType>(rawValue);
}

double cornerRadius(BorderType type, double buttonHeight) {
  switch (type) {
    case BorderType::capsule:
      return buttonHeight / 2;
    case BorderType::rounded:
      return 5;
    case BorderType::square:
      return 0;
  }
  return 0;
}

Customization::Customization() {
  Color theme = currentThemeColor();
  skipTestButtonColor = theme;
  customNavigationBarBackgroundColor = Color::white();
  customNavigationBarTextColor = Color::rgb(50, 50, 50);
  customNavigationBarButtonsTextColor = theme;
  progressBarBackgroundColor = Color::rgb(223, 224, 234);
  progressBarSelectedColor = theme;
  buttonsStyle = ButtonsStyle(BorderType::capsule, theme, Color::white());
}

const CustomizableScreen* Customization::screen(const std::string& screenType) const {
  for (const auto& custom : customScreens) {
    if (custom.screenType == screenType) return &custom;
  }
  return nullptr;
}

CustomizableScreen::CustomizableScreen(std::string type,
                                       std::optional<std::map<std::string, std::string>> copy,
                                       std::optional<std::map<std::string, Image>> imageOverrides,
                                       std::optional<Color> background, std::optional<Color> text,
                                       std::optional<Color> textAccent)
    : screenType(std::move(type)),
      copyStrings(std::move(copy)),
      images(std::move(imageOverrides)),
      backgroundColor(background),
      textColor(text),
      textAccentColor(textAccent) {}

std::string CustomizableScreen::getCopyForKey(const std::string& key,
                                              const std::string& defaultValue) const {
  if (!copyStrings) return defaultValue;
  auto it = copyStrings->find(key);
  if (it == copyStrings->end() || it->second.empty()) return defaultValue;
  return it->second;
}

std::optional<Image> CustomizableScreen::getImageForKey(const std::string& key) const {
  if (!images) return std::nullopt;
  auto it = images->find(key);
  if (it == images->end()) return std::nullopt;
  return it->second;
}

}  // namespace quorvel
