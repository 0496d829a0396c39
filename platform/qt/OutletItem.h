#pragma once

#include <QtQml/qqmlregistration.h>

#include <QPointer>
#include <QQuickItem>

#include "quorvel/quick/ViewControllerBridge.h"

namespace quorvel {

// The place of one outlet in a screen's layout (QML type Quorvel.Outlet): it reports its size to
// the core as the outlet's bounds and hands the touches on it to the outlet's gesture recognisers.
// While the outlet has none, touches pass through to whatever lies beneath.
class OutletItem : public QQuickItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(Outlet)
  Q_PROPERTY(quorvel::ViewControllerBridge* controller READ controller WRITE setController NOTIFY
                 controllerChanged)
  Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)

 public:
  explicit OutletItem(QQuickItem* parent = nullptr);

  ViewControllerBridge* controller() const { return controller_; }
  void setController(ViewControllerBridge* controller);
  QString name() const { return name_; }
  void setName(const QString& name);

 signals:
  void controllerChanged();
  void nameChanged();

 protected:
  void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
  void touchEvent(QTouchEvent* event) override;
  void touchUngrabEvent() override;

 private:
  void reportBounds();

  QPointer<ViewControllerBridge> controller_;
  QString name_;
  // Touches delivered to the recognisers and not yet lifted, so an ungrab can cancel them.
  std::vector<Touch> active_;
};

}  // namespace quorvel
