#include "qt/CameraPictureItem.h"

#include "quorvel/Fatal.h"
#include "quorvel/quick/QuickFrontEnd.h"

namespace quorvel {

CameraPictureItem::CameraPictureItem(QQuickItem* parent) : PictureItem(Fit::crop, parent) {
  QuickFrontEnd* frontEnd = QuickFrontEnd::current();
  if (!frontEnd) QUORVEL_FATAL("a camera preview without a QuickFrontEnd");
  connect(frontEnd, &QuickFrontEnd::cameraPictureChanged, this, &CameraPictureItem::pictureChanged);
  pictureChanged();
}

void CameraPictureItem::pictureChanged() {
  QuickFrontEnd* frontEnd = QuickFrontEnd::current();
  setPicture(frontEnd ? frontEnd->cameraPicture() : QImage());
}

}  // namespace quorvel
