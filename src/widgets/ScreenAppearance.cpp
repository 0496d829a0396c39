#include "widgets/ScreenAppearance.h"

#include "quorvel/Fatal.h"

namespace quorvel {

ScreenAppearance::ScreenAppearance(ScreenContext context, const std::string& screenType)
    : context_(std::move(context)) {
  if (!context_.customization) QUORVEL_FATAL("a screen needs its run's customization");
  // Every port is filled once installed; an empty one means the maker forgot to hand them over.
  if (!context_.ports.mainQueue) QUORVEL_FATAL("a screen needs its ports");
  overrides_ = context_.customization->screen(screenType);
}

std::string ScreenAppearance::text(const std::string& overrideKey, std::string_view copyKey) const {
  std::string fallback = copy(copyKey);
  return overrides_ ? overrides_->getCopyForKey(overrideKey, fallback) : fallback;
}

std::optional<Image> ScreenAppearance::image(const std::string& key) const {
  return overrides_ ? overrides_->getImageForKey(key) : std::nullopt;
}

Color ScreenAppearance::backgroundColor() const {
  return overrides_ && overrides_->backgroundColor ? *overrides_->backgroundColor : Color::white();
}

Color ScreenAppearance::textColor() const {
  return overrides_ && overrides_->textColor ? *overrides_->textColor : Color::rgb(88, 94, 108);
}

Color ScreenAppearance::textAccentColor() const {
  return overrides_ && overrides_->textAccentColor ? *overrides_->textAccentColor
                                                   : Color::rgb(22, 27, 38);
}

void ScreenAppearance::styleMainButton(Button& button) const {
  const auto& style = customization().buttonsStyle;
  button.backgroundColor = style.backgroundColor ? *style.backgroundColor : themeColor();
  button.titleColor = style.foregroundColor;
  button.borderType = style.borderType;
}

}  // namespace quorvel
