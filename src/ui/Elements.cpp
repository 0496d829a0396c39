#include "quorvel/ui/Elements.h"

#include "quorvel/ui/GestureRecognizer.h"

namespace quorvel {

namespace {

Dictionary colorJson(const std::optional<Color>& color) {
  return color ? Dictionary(color->hex()) : Dictionary(nullptr);
}

}  // namespace

Dictionary toJson(const Image& image) {
  switch (image.kind) {
    case Image::Kind::asset:
      return {{"asset", image.name}, {"template", image.isTemplate}};
    case Image::Kind::file:
      return {{"file", image.name}};
    case Image::Kind::encoded:
      return {{"encodedBytes", image.bytes.size()}};
    case Image::Kind::bitmap:
      return {{"bitmap", {{"width", image.width}, {"height", image.height}}}};
  }
  return nullptr;
}

Dictionary Element::toJson() const {
  Dictionary recognizers = Dictionary::array();
  for (const auto& recognizer : gestureRecognizers) recognizers.push_back(recognizer->toJson());
  return {{"kind", kind()},
          {"hidden", hidden},
          {"alpha", alpha},
          {"backgroundColor", colorJson(backgroundColor)},
          {"tintColor", colorJson(tintColor)},
          {"cornerRadius", cornerRadius},
          {"userInteractionEnabled", userInteractionEnabled},
          {"accessibilityLabel", accessibilityLabel},
          {"bounds", {{"width", bounds.width}, {"height", bounds.height}}},
          {"gestureRecognizers", recognizers}};
}

Dictionary Label::toJson() const {
  Dictionary json = Element::toJson();
  json["text"] = text;
  json["textColor"] = colorJson(textColor);
  json["link"] = link;
  json["linkAction"] = linkAction;
  json["mirrored"] = mirrored;
  return json;
}

Dictionary Button::toJson() const {
  Dictionary json = Element::toJson();
  json["title"] = title;
  json["titleColor"] = colorJson(titleColor);
  json["image"] = image ? quorvel::toJson(*image) : Dictionary(nullptr);
  json["enabled"] = enabled;
  json["borderType"] = borderType ? Dictionary(static_cast<int>(*borderType)) : Dictionary(nullptr);
  return json;
}

Dictionary ImageView::toJson() const {
  Dictionary json = Element::toJson();
  json["image"] = image ? quorvel::toJson(*image) : Dictionary(nullptr);
  return json;
}

Dictionary TextField::toJson() const {
  Dictionary json = Element::toJson();
  json["text"] = text;
  json["placeholder"] = placeholder;
  json["keyboardType"] = static_cast<int>(keyboardType);
  json["textColor"] = colorJson(textColor);
  json["enabled"] = enabled;
  json["isFirstResponder"] = isFirstResponder;
  return json;
}

Dictionary RadioButton::toJson() const {
  Dictionary json = Element::toJson();
  json["title"] = title;
  json["textColor"] = colorJson(textColor);
  json["isChecked"] = isChecked;
  return json;
}

Dictionary CheckBox::toJson() const {
  Dictionary json = Element::toJson();
  json["title"] = title;
  json["textColor"] = colorJson(textColor);
  json["isChecked"] = isChecked;
  return json;
}

Dictionary ProgressBar::toJson() const {
  Dictionary json = Element::toJson();
  Dictionary segmentList = Dictionary::array();
  for (const auto& segment : segments) segmentList.push_back(colorJson(segment));
  json["segments"] = segmentList;
  json["segmentHeight"] = segmentHeight;
  return json;
}

Dictionary Table::toJson() const {
  Dictionary json = Element::toJson();
  json["registeredCells"] = registeredCells;
  json["rows"] = rows;
  json["reloadCount"] = reloadCount;
  return json;
}

Dictionary ActivityIndicator::toJson() const {
  Dictionary json = Element::toJson();
  json["animating"] = animating;
  return json;
}

}  // namespace quorvel
