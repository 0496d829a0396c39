#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Customization.h"
#include "quorvel/ui/Elements.h"

namespace quorvel {

// How one screen looks in the current run: its texts with the host's overrides, its images and
// colours, and the host's button style.
class ScreenAppearance {
 public:
  // screenType names the screen's overrides ("start_screen" ...).
  explicit ScreenAppearance(const std::string& screenType);

  // The host's non-empty override under overrideKey, else the copy of copyKey.
  std::string text(const std::string& overrideKey, std::string_view copyKey) const;
  std::optional<Image> image(const std::string& key) const;

  const CustomizableScreen* overrides() const { return overrides_; }
  const Customization& customization() const { return customization_; }
  Color themeColor() const { return Customization::currentThemeColor(); }

  Color backgroundColor() const;
  Color textColor() const;
  Color textAccentColor() const;

  // The run's main-button look: style colours and corners.
  void styleMainButton(Button& button) const;
  void styleBody(Label& label) const { label.textColor = textColor(); }
  void styleTitle(Label& label) const { label.textColor = textAccentColor(); }

 private:
  Customization customization_;
  const CustomizableScreen* overrides_ = nullptr;
};

}  // namespace quorvel
