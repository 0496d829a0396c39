#include "qt/OutletItem.h"

#include <QTouchEvent>
#include <algorithm>

namespace quorvel {

OutletItem::OutletItem(QQuickItem* parent) : QQuickItem(parent) { setAcceptTouchEvents(true); }

void OutletItem::setController(ViewControllerBridge* controller) {
  if (controller_ == controller) return;
  controller_ = controller;
  reportBounds();
  emit controllerChanged();
}

void OutletItem::setName(const QString& name) {
  if (name_ == name) return;
  name_ = name;
  reportBounds();
  emit nameChanged();
}

void OutletItem::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
  QQuickItem::geometryChange(newGeometry, oldGeometry);
  if (newGeometry.size() != oldGeometry.size()) reportBounds();
}

void OutletItem::reportBounds() {
  if (controller_ && !name_.isEmpty()) controller_->setBounds(name_, size());
}

void OutletItem::touchEvent(QTouchEvent* event) {
  if (!controller_ || name_.isEmpty() || !controller_->hasGestureRecognizers(name_)) {
    event->ignore();
    return;
  }
  std::vector<Touch> began, moved, ended;
  for (const auto& point : event->points()) {
    const QPointF at = mapFromScene(point.scenePosition());
    const Touch touch{point.id(), {at.x(), at.y()}};
    switch (point.state()) {
      case QEventPoint::Pressed:
        began.push_back(touch);
        break;
      case QEventPoint::Updated:
        moved.push_back(touch);
        break;
      case QEventPoint::Released:
        ended.push_back(touch);
        break;
      default:
        break;
    }
  }
  // Each point stays with this item until it lifts, so the recognisers see whole gestures.
  for (const auto& point : event->points()) {
    if (point.state() == QEventPoint::Pressed) event->setExclusiveGrabber(point, this);
  }
  event->accept();
  for (const auto& touch : began) active_.push_back(touch);
  for (const auto& touch : ended) {
    std::erase_if(active_, [&](const Touch& each) { return each.id == touch.id; });
  }
  for (auto& each : active_) {
    auto it = std::find_if(moved.begin(), moved.end(),
                           [&](const Touch& touch) { return touch.id == each.id; });
    if (it != moved.end()) each.location = it->location;
  }
  if (!began.empty()) controller_->handleTouches(name_, TouchPhase::began, began);
  if (!moved.empty()) controller_->handleTouches(name_, TouchPhase::moved, moved);
  if (!ended.empty()) controller_->handleTouches(name_, TouchPhase::ended, ended);
}

void OutletItem::touchUngrabEvent() {
  if (!active_.empty() && controller_) {
    auto cancelled = std::exchange(active_, {});
    controller_->handleTouches(name_, TouchPhase::cancelled, cancelled);
  }
}

}  // namespace quorvel
