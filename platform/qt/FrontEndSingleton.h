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
// (the host's own or the ready-made window's). The host keeps ownership of one it made; for a host
// written in QML alone, the first use makes one that the application keeps.
struct FrontEndSingleton {
  Q_GADGET
  QML_FOREIGN(quorvel::QuickFrontEnd)
  QML_NAMED_ELEMENT(FrontEnd)
  QML_SINGLETON

 public:
  static QuickFrontEnd* create(QQmlEngine* engine, QJSEngine* scriptEngine);
  // The process's front end, made when there is none.
  static QuickFrontEnd* frontEnd();
};

}  // namespace quorvel
