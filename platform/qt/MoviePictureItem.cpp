#include "qt/MoviePictureItem.h"

#include <QVideoFrame>

namespace quorvel {

MoviePictureItem::MoviePictureItem(QQuickItem* parent) : PictureItem(Fit::whole, parent) {
  // Frames may come from the backend's thread; this item's context brings them to the GUI thread.
  connect(&sink_, &QVideoSink::videoFrameChanged, this, [this](const QVideoFrame& frame) {
    setPicture(frame.isValid() ? frame.toImage() : QImage());
  });
}

}  // namespace quorvel
