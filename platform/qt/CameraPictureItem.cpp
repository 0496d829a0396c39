#include "qt/CameraPictureItem.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <memory>

#include "quorvel/Fatal.h"
#include "quorvel/quick/QuickFrontEnd.h"

namespace quorvel {

namespace {

// Holds the picture's texture itself: whether an image node deletes the texture it owns when given
// another differs between Qt versions.
struct PictureNode : QSGNode {
  QSGImageNode* image = nullptr;  // a child, deleted with this node
  std::unique_ptr<QSGTexture> texture;
};

}  // namespace

CameraPictureItem::CameraPictureItem(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
  QuickFrontEnd* frontEnd = QuickFrontEnd::current();
  if (!frontEnd) QUORVEL_FATAL("a camera preview without a QuickFrontEnd");
  connect(frontEnd, &QuickFrontEnd::cameraPictureChanged, this, &CameraPictureItem::pictureChanged);
  pictureChanged();
}

void CameraPictureItem::pictureChanged() {
  const bool wasShowing = showing();
  // The picture is taken here, on the GUI thread; the render thread only reads this copy.
  picture_ = QuickFrontEnd::current() ? QuickFrontEnd::current()->cameraPicture() : QImage();
  pictureIsNew_ = true;
  update();
  if (wasShowing != showing()) emit showingChanged();
}

QRectF CameraPictureItem::cropFor(QSizeF picture, QSizeF item) {
  if (picture.isEmpty() || item.isEmpty()) return {};
  const qreal scale = std::max(item.width() / picture.width(), item.height() / picture.height());
  const QSizeF shown = item / scale;
  return QRectF(
      QPointF((picture.width() - shown.width()) / 2, (picture.height() - shown.height()) / 2),
      shown);
}

QSGNode* CameraPictureItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
  auto* node = static_cast<PictureNode*>(old);
  if (picture_.isNull() || width() <= 0 || height() <= 0) {
    delete node;
    return nullptr;
  }
  if (!node) {
    node = new PictureNode;
    node->image = window()->createImageNode();
    node->image->setFiltering(QSGTexture::Linear);
    node->appendChildNode(node->image);
    pictureIsNew_ = true;
  }
  if (pictureIsNew_) {
    std::unique_ptr<QSGTexture> texture(window()->createTextureFromImage(picture_));
    node->image->setTexture(texture.get());
    node->texture = std::move(texture);
    pictureIsNew_ = false;
  }
  node->image->setRect(boundingRect());
  node->image->setSourceRect(cropFor(picture_.size(), size()));
  return node;
}

}  // namespace quorvel
