#pragma once

#include <QtQml/qqmlregistration.h>

#include <QVideoSink>

#include "qt/PictureItem.h"

namespace quorvel {

// A movie's picture (QML type Quorvel.MoviePicture), whole and centred: a media player's video
// output is this item's videoSink. Unlike VideoOutput, it draws under the software scene graph too.
class MoviePictureItem : public quorvel::PictureItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(MoviePicture)
  Q_PROPERTY(QVideoSink* videoSink READ videoSink CONSTANT)

 public:
  explicit MoviePictureItem(QQuickItem* parent = nullptr);

  QVideoSink* videoSink() { return &sink_; }
  // Lets go of the last frame, so that the next movie does not open on it.
  Q_INVOKABLE void clear() { setPicture(QImage()); }

 private:
  QVideoSink sink_;
};

}  // namespace quorvel
