#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Customization.h"
#include "quorvel/ui/Elements.h"
#include "widgets/ScreenContext.h"

namespace quorvel {

// How one screen looks in its run: its texts in the run's language with the host's overrides, its
// images and colours, and the host's button style.
class ScreenAppearance {
 public:
  // screenType names the screen's overrides ("start_screen" ...).
  ScreenAppearance(ScreenContext context, const std::string& screenType);

  // The host's non-empty override under overrideKey, else the copy of copyKey.
  std::string text(const std::string& overrideKey, std::string_view copyKey) const;
  // The copy of key in the run's language.
  std::string copy(std::string_view key) const { return context_.copy(key); }
  std::optional<Image> image(const std::string& key) const;

  const ScreenContext& context() const { return context_; }
  const CustomizableScreen* overrides() const { return overrides_; }
  const Customization& customization() const { return *context_.customization; }
  Color themeColor() const { return context_.themeColor; }

  Color backgroundColor() const;
  Color textColor() const;
  Color textAccentColor() const;

  // The run's main-button look: style colours and corners.
  void styleMainButton(Button& button) const;
  void styleBody(Label& label) const { label.textColor = textColor(); }
  void styleTitle(Label& label) const { label.textColor = textAccentColor(); }

 private:
  ScreenContext context_;
  const CustomizableScreen* overrides_ = nullptr;
};

}  // namespace quorvel
