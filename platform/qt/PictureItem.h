#pragma once

#include <QtQml/qqmlregistration.h>

#include <QImage>
#include <QQuickItem>

namespace quorvel {

// Draws a picture that changes often (camera, movie) with plain scene-graph image nodes, so that it
// shows under every scene-graph backend, the software one included; nothing while there is none.
class PictureItem : public QQuickItem {
  Q_OBJECT
  QML_ANONYMOUS
  // Whether a picture is shown.
  Q_PROPERTY(bool showing READ showing NOTIFY showingChanged)

 public:
  enum class Fit {
    // Fills the item; what sticks out is cut off, evenly on both sides.
    crop,
    // Whole, as large as fits, centred.
    whole,
  };

  bool showing() const { return !picture_.isNull(); }

  // Where a picture of size picture goes in an item of size item: the part of the picture drawn
  // and the part of the item it covers.
  static std::pair<QRectF, QRectF> placement(Fit fit, QSizeF picture, QSizeF item);

 signals:
  void showingChanged();

 protected:
  PictureItem(Fit fit, QQuickItem* parent);
  // On the GUI thread; the render thread only reads the picture while the GUI thread waits.
  void setPicture(QImage picture);
  QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;

 private:
  Fit fit_;
  QImage picture_;
  bool pictureIsNew_ = false;
};

}  // namespace quorvel
