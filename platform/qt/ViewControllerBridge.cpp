#include "qt/ViewControllerBridge.h"

#include <QColor>

#include "qt/QuorvelImageProvider.h"
#include "quorvel/Customization.h"

namespace quorvel {

namespace {

bool endsWith(const std::string& text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

QColor toQColor(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

// Colours as the core writes them ("#rrggbbaa").
std::optional<QColor> parseColor(const Dictionary& value) {
  if (!value.is_string()) return std::nullopt;
  auto color = Color::fromHex(value.get_ref<const std::string&>());
  if (!color) return std::nullopt;
  return toQColor(*color);
}

std::optional<Image> imageFromJson(const Dictionary& value) {
  if (!value.is_object()) return std::nullopt;
  if (value.contains("asset")) {
    return Image::asset(value["asset"].get<std::string>(), value.value("template", false));
  }
  if (value.contains("file")) return Image::file(value["file"].get<std::string>());
  return std::nullopt;
}

QColor defaultTint() { return toQColor(Customization::currentThemeColor()); }

// Colours become QML colours (keys ending in "Color", and progress segments), images become
// image sources tinted by their sibling "<key>TintColor" or "tintColor".
QVariant toQml(const Dictionary& value, const std::string& key, QuorvelImageProvider& images) {
  if (value.is_object()) {
    QVariantMap map;
    for (const auto& [name, member] : value.items()) {
      if (auto image = imageFromJson(member)) {
        auto tint = parseColor(value.value(name + "TintColor", Dictionary()));
        if (!tint) tint = parseColor(value.value("tintColor", Dictionary()));
        map.insert(QString::fromStdString(name),
                   images.sourceFor(*image, tint ? tint : std::optional<QColor>(defaultTint())));
      } else {
        map.insert(QString::fromStdString(name), toQml(member, name, images));
      }
    }
    return map;
  }
  if (value.is_array()) {
    QVariantList list;
    for (const auto& member : value) list.append(toQml(member, key, images));
    return list;
  }
  if (endsWith(key, "Color") || key == "segments") {
    if (value.is_null()) return QColor(Qt::transparent);
    if (auto color = parseColor(value)) return *color;
  }
  if (value.is_string()) return QString::fromStdString(value.get<std::string>());
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_integer()) return value.get<qlonglong>();
  if (value.is_number()) return value.get<double>();
  return {};
}

// An element's own image, when the generic conversion cannot see it (encoded bytes).
const Image* encodedImageOf(const Element& element) {
  const std::optional<Image>* image = nullptr;
  if (const auto* view = dynamic_cast<const ImageView*>(&element)) image = &view->image;
  if (const auto* button = dynamic_cast<const quorvel::Button*>(&element)) image = &button->image;
  if (image && *image && (*image)->kind == Image::Kind::encoded) return &**image;
  return nullptr;
}

}  // namespace

ViewControllerBridge::ViewControllerBridge(const std::shared_ptr<ViewController>& controller,
                                           QUrl interfaceUrl, QuorvelImageProvider* images,
                                           QObject* parent)
    : QObject(parent),
      controller_(controller),
      interfaceName_(QString::fromStdString(controller->interfaceName())),
      interfaceUrl_(std::move(interfaceUrl)),
      images_(images) {
  controller->loadViewIfNeeded();
  observerToken_ = controller->addObserver([this] { refresh(); });
  refresh();
}

ViewControllerBridge::~ViewControllerBridge() {
  if (auto controller = controller_.lock()) controller->removeObserver(observerToken_);
}

void ViewControllerBridge::refresh() {
  auto controller = controller_.lock();
  if (!controller) return;
  Dictionary snapshot = controller->snapshot();
  for (auto& [name, json] : snapshot["outlets"].items()) {
    if (const Image* image = encodedImageOf(std::as_const(*controller).outlet<Element>(name))) {
      json["image"] = images_->sourceFor(*image, std::nullopt).toStdString();
    }
    const QString key = QString::fromStdString(name);
    QVariant value = toQml(json, name, *images_);
    if (outlets_.value(key) != value) outlets_.insert(key, value);
  }
  snapshot.erase("outlets");
  QVariantMap screen = toQml(snapshot, "", *images_).toMap();
  if (screen != screen_) {
    screen_ = std::move(screen);
    emit screenChanged();
  }
}

bool ViewControllerBridge::send(const QString& action) {
  auto controller = controller_.lock();
  return controller && controller->sendAction(action.toStdString());
}

void ViewControllerBridge::editText(const QString& outlet, const QString& text) {
  if (auto controller = controller_.lock()) {
    controller->textFieldDidChange(outlet.toStdString(), text.toStdString());
  }
}

qreal ViewControllerBridge::cornerRadius(const QString& outlet, qreal height) const {
  auto controller = controller_.lock();
  if (!controller) return 0;
  const auto& button = controller->outlet<quorvel::Button>(outlet.toStdString());
  if (button.borderType) return quorvel::cornerRadius(*button.borderType, height);
  return button.cornerRadius;
}

void ViewControllerBridge::setBounds(const QString& outlet, QSizeF size) {
  auto controller = controller_.lock();
  if (!controller) return;
  const Size bounds{size.width(), size.height()};
  const std::string name = outlet.toStdString();
  // Reading through the const path first: writing counts as a change and would redraw.
  if (std::as_const(*controller).outlet<Element>(name).bounds == bounds) return;
  controller->outlet<Element>(name).bounds = bounds;
}

bool ViewControllerBridge::hasGestureRecognizers(const QString& outlet) const {
  auto controller = controller_.lock();
  return controller && !std::as_const(*controller)
                            .outlet<Element>(outlet.toStdString())
                            .gestureRecognizers.empty();
}

void ViewControllerBridge::handleTouches(const QString& outlet, TouchPhase phase,
                                         const std::vector<Touch>& touches) {
  if (auto controller = controller_.lock()) {
    controller->handleTouches(outlet.toStdString(), phase, touches);
  }
}

}  // namespace quorvel
