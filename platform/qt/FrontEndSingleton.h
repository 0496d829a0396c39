#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>

#include "quorvel/quick/QuickFrontEnd.h"

QT_BEGIN_NAMESPACE
class QJSEngine;
class QQmlEngine;
QT_END_NAMESPACE

namespace quorvel {

// QML's FrontEnd singleton: the QuickFrontEnd the host made, in every engine that shows the SDK
// (the host's own or the ready-made window's). The host keeps ownership.
struct FrontEndSingleton {
  Q_GADGET
  QML_FOREIGN(quorvel::QuickFrontEnd)
  QML_NAMED_ELEMENT(FrontEnd)
  QML_SINGLETON

 public:
  static QuickFrontEnd* create(QQmlEngine* engine, QJSEngine* scriptEngine);
};

}  // namespace quorvel
