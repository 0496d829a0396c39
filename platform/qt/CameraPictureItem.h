#pragma once

#include <QtQml/qqmlregistration.h>

#include <QImage>
#include <QQuickItem>

namespace quorvel {

// The installed camera's picture (QML type Quorvel.CameraPicture), scaled to fill the item and
// cropped to it, centred; nothing while no capture session runs.
class CameraPictureItem : public QQuickItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(CameraPicture)
  // Whether a picture is shown.
  Q_PROPERTY(bool showing READ showing NOTIFY showingChanged)

 public:
  explicit CameraPictureItem(QQuickItem* parent = nullptr);

  bool showing() const { return !picture_.isNull(); }
  // The part of a picture of size picture that fills an item of size item.
  static QRectF cropFor(QSizeF picture, QSizeF item);

 signals:
  void showingChanged();

 protected:
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;

 private:
  void pictureChanged();

  QImage picture_;
  bool pictureIsNew_ = false;
};

}  // namespace quorvel
