#pragma once

#include <QtQml/qqmlregistration.h>

#include <QQmlPropertyMap>
#include <QVideoSink>

namespace quorvel {

// Types the module's properties use that Qt's own modules do not describe to QML tooling: a
// screen's outlets (a property map) and the movie picture's sink. Described here, without a name,
// so that qmllint and qmlls know their properties.
struct PropertyMapForeign {
  Q_GADGET
  QML_FOREIGN(QQmlPropertyMap)
  QML_ANONYMOUS
};

struct VideoSinkForeign {
  Q_GADGET
  QML_FOREIGN(QVideoSink)
  QML_ANONYMOUS
};

}  // namespace quorvel
