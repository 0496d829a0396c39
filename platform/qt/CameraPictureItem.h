#pragma once

#include <QtQml/qqmlregistration.h>

#include "qt/PictureItem.h"

namespace quorvel {

// The installed camera's picture (QML type Quorvel.CameraPicture), filling the item, cropped and
// centred; nothing while no capture session runs.
class CameraPictureItem : public quorvel::PictureItem {
  Q_OBJECT
  QML_NAMED_ELEMENT(CameraPicture)

 public:
  explicit CameraPictureItem(QQuickItem* parent = nullptr);

 private:
  void pictureChanged();
};

}  // namespace quorvel
