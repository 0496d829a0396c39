#include "qt/PictureItem.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <algorithm>
#include <memory>

namespace quorvel {

namespace {

// Holds the picture's texture itself: whether an image node deletes the texture it owns when given
// another differs between Qt versions.
struct PictureNode : QSGNode {
  QSGImageNode* image = nullptr;  // a child, deleted with this node
  std::unique_ptr<QSGTexture> texture;
};

}  // namespace

PictureItem::PictureItem(Fit fit, QQuickItem* parent) : QQuickItem(parent), fit_(fit) {
  setFlag(ItemHasContents);
}

void PictureItem::setPicture(QImage picture) {
  const bool wasShowing = showing();
  picture_ = std::move(picture);
  pictureIsNew_ = true;
  update();
  if (wasShowing != showing()) emit showingChanged();
}

std::pair<QRectF, QRectF> PictureItem::placement(Fit fit, QSizeF picture, QSizeF item) {
  if (picture.isEmpty() || item.isEmpty()) return {};
  const qreal fill = std::max(item.width() / picture.width(), item.height() / picture.height());
  const qreal fitIn = std::min(item.width() / picture.width(), item.height() / picture.height());
  if (fit == Fit::crop) {
    const QSizeF shown = item / fill;
    return {QRectF(QPointF((picture.width() - shown.width()) / 2,
                           (picture.height() - shown.height()) / 2),
                   shown),
            QRectF(QPointF(), item)};
  }
  const QSizeF drawn = picture * fitIn;
  return {QRectF(QPointF(), picture),
          QRectF(QPointF((item.width() - drawn.width()) / 2, (item.height() - drawn.height()) / 2),
                 drawn)};
}

QSGNode* PictureItem::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
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
  const auto [source, target] = placement(fit_, picture_.size(), size());
  node->image->setSourceRect(source);
  node->image->setRect(target);
  return node;
}

}  // namespace quorvel
