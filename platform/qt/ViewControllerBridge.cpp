#include "quorvel/quick/ViewControllerBridge.h"

#include <QColor>

#include "qt/QuorvelImageProvider.h"
#include "quorvel/Customization.h"
#include "quorvel/ui/AlertController.h"

namespace quorvel {

namespace {

QColor toQColor(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

// A colour the core leaves unset draws nothing, as a clear colour does.
QColor toQColor(const std::optional<Color>& color) {
  return color ? toQColor(*color) : QColor(Qt::transparent);
}

QString toQString(const std::string& text) { return QString::fromStdString(text); }

// The map notifies a key only when its value differs, so QML re-evaluates only what depends on
// the values that changed.
void set(QQmlPropertyMap& map, const QString& key, const QVariant& value) {
  map.insert(key, value);
}

std::optional<Image> imageFromJson(const Dictionary& value) {
  if (!value.is_object()) return std::nullopt;
  if (value.contains("asset") && value["asset"].is_string()) {
    return Image::asset(value["asset"].get<std::string>(), value.value("template", false));
  }
  if (value.contains("file") && value["file"].is_string()) {
    return Image::file(value["file"].get<std::string>());
  }
  return std::nullopt;
}

std::optional<Color> colorFromJson(const Dictionary& value) {
  return value.is_string() ? Color::fromHex(value.get_ref<const std::string&>()) : std::nullopt;
}

// A table row as the core holds it (the table's rows are dictionaries): colours ("...Color")
// become QML colours and images become sources tinted by "<name>TintColor" or "tintColor".
QVariant rowValue(const Dictionary& value, const std::string& key, QuorvelImageProvider& images) {
  if (value.is_object()) {
    QVariantMap map;
    for (const auto& [name, member] : value.items()) {
      if (auto image = imageFromJson(member)) {
        auto tint = colorFromJson(value.value(name + "TintColor", Dictionary()));
        if (!tint) tint = colorFromJson(value.value("tintColor", Dictionary()));
        std::optional<QColor> qtTint;
        if (tint) qtTint = toQColor(*tint);
        map.insert(toQString(name), images.sourceFor(*image, qtTint));
      } else {
        map.insert(toQString(name), rowValue(member, name, images));
      }
    }
    return map;
  }
  if (value.is_array()) {
    QVariantList list;
    for (const auto& member : value) list.append(rowValue(member, key, images));
    return list;
  }
  const bool isColor =
      key.size() >= 5 && key.compare(key.size() - 5, std::string::npos, "Color") == 0;
  if (isColor) return toQColor(colorFromJson(value));
  if (value.is_string()) return toQString(value.get<std::string>());
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_number_integer()) return value.get<qlonglong>();
  if (value.is_number()) return value.get<double>();
  return {};
}

QVariantMap alertValues(const AlertController& alert) {
  QVariantList actions;
  for (const auto& action : alert.actions()) {
    actions.append(
        QVariantMap{{"title", toQString(action.title)}, {"style", static_cast<int>(action.style)}});
  }
  return {{"title", toQString(alert.title())},
          {"message", toQString(alert.message())},
          {"actions", actions}};
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

QQmlPropertyMap* ViewControllerBridge::outlet(const QString& name) const {
  auto it = outletValues_.find(name.toStdString());
  return it == outletValues_.end() ? nullptr : it->second;
}

void ViewControllerBridge::refresh() {
  auto controller = controller_.lock();
  if (!controller) return;
  const ViewController& screen = *controller;
  for (const auto& name : screen.outletNames()) update(name, screen.outlet<Element>(name));
  if (const auto* alert = dynamic_cast<const AlertController*>(&screen)) {
    QVariantMap values = alertValues(*alert);
    if (values != alert_) {
      alert_ = std::move(values);
      emit alertChanged();
    }
  }
}

QString ViewControllerBridge::imageSource(const std::string& name,
                                          const std::optional<Image>& image,
                                          const std::optional<Color>& tint) {
  ImageSource& last = imageSources_[name];
  if (last.image == image && last.tint == tint && (!image || !last.source.isEmpty())) {
    return last.source;
  }
  std::optional<QColor> qtTint;
  if (tint) qtTint = toQColor(*tint);
  last = {image, tint, image ? images_->sourceFor(*image, qtTint) : QString()};
  return last.source;
}

void ViewControllerBridge::update(const std::string& name, const Element& element) {
  QQmlPropertyMap*& values = outletValues_[name];
  if (!values) {
    values = new QQmlPropertyMap(this);
    outlets_.insert(toQString(name), QVariant::fromValue(static_cast<QObject*>(values)));
  }
  QQmlPropertyMap& map = *values;
  set(map, "kind", QString::fromLatin1(element.kind()));
  set(map, "hidden", element.hidden);
  set(map, "alpha", element.alpha);
  set(map, "backgroundColor", toQColor(element.backgroundColor));
  set(map, "tintColor", toQColor(element.tintColor));
  set(map, "cornerRadius", element.cornerRadius);
  set(map, "userInteractionEnabled", element.userInteractionEnabled);
  set(map, "accessibilityLabel", toQString(element.accessibilityLabel));

  if (const auto* label = dynamic_cast<const Label*>(&element)) {
    set(map, "text", toQString(label->text));
    set(map, "textColor", toQColor(label->textColor));
    set(map, "link", toQString(label->link));
    set(map, "linkAction", toQString(label->linkAction));
    set(map, "mirrored", label->mirrored);
  } else if (const auto* button = dynamic_cast<const quorvel::Button*>(&element)) {
    set(map, "title", toQString(button->title));
    set(map, "titleColor", toQColor(button->titleColor));
    set(map, "image", imageSource(name, button->image, button->tintColor));
    set(map, "enabled", button->enabled);
    set(map, "borderType", button->borderType ? static_cast<int>(*button->borderType) : -1);
  } else if (const auto* view = dynamic_cast<const ImageView*>(&element)) {
    set(map, "image", imageSource(name, view->image, view->tintColor));
    set(map, "bitmap", view->image && view->image->kind == Image::Kind::bitmap);
  } else if (const auto* field = dynamic_cast<const TextField*>(&element)) {
    set(map, "text", toQString(field->text));
    set(map, "placeholder", toQString(field->placeholder));
    set(map, "keyboardType", static_cast<int>(field->keyboardType));
    set(map, "textColor", toQColor(field->textColor));
    set(map, "enabled", field->enabled);
    set(map, "isFirstResponder", field->isFirstResponder);
  } else if (const auto* radio = dynamic_cast<const RadioButton*>(&element)) {
    set(map, "title", toQString(radio->title));
    set(map, "textColor", toQColor(radio->textColor));
    set(map, "isChecked", radio->isChecked);
  } else if (const auto* box = dynamic_cast<const CheckBox*>(&element)) {
    set(map, "title", toQString(box->title));
    set(map, "textColor", toQColor(box->textColor));
    set(map, "isChecked", box->isChecked);
  } else if (const auto* bar = dynamic_cast<const ProgressBar*>(&element)) {
    QVariantList segments;
    for (const auto& segment : bar->segments) segments.append(toQColor(segment));
    set(map, "segments", segments);
    set(map, "segmentHeight", bar->segmentHeight);
  } else if (const auto* table = dynamic_cast<const Table*>(&element)) {
    QVariantList cells;
    for (const auto& cell : table->registeredCells) cells.append(toQString(cell));
    set(map, "registeredCells", cells);
    // Rows are converted again only when the table reloads them.
    if (!map.contains("reloadCount") || map.value("reloadCount").toInt() != table->reloadCount) {
      QVariantList rows;
      for (const auto& row : table->rows) rows.append(rowValue(row, "", *images_));
      set(map, "rows", rows);
      set(map, "reloadCount", table->reloadCount);
    }
  } else if (const auto* indicator = dynamic_cast<const ActivityIndicator*>(&element)) {
    set(map, "animating", indicator->animating);
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

qreal ViewControllerBridge::cornerRadius(int borderType, qreal ownRadius, qreal height) const {
  if (borderType < 0) return ownRadius;
  return quorvel::cornerRadius(static_cast<BorderType>(borderType), height);
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
