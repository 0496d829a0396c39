#include "qt/FrontEndSingleton.h"

#include <QCoreApplication>
#include <QQmlEngine>

#include "quorvel/Fatal.h"

namespace quorvel {

QuickFrontEnd* FrontEndSingleton::frontEnd() {
  QuickFrontEnd* frontEnd = QuickFrontEnd::current();
  // A host written in QML alone has made none; the application keeps the one made here.
  if (!frontEnd) {
    if (!QCoreApplication::instance()) QUORVEL_FATAL("the SDK's QML needs a QGuiApplication");
    frontEnd = new QuickFrontEnd(QCoreApplication::instance());
  }
  // Without this the engine would delete the host's object with itself.
  QJSEngine::setObjectOwnership(frontEnd, QJSEngine::CppOwnership);
  return frontEnd;
}

QuickFrontEnd* FrontEndSingleton::create(QQmlEngine* engine, QJSEngine* /*scriptEngine*/) {
  QuickFrontEnd* made = frontEnd();
  // The SDK's images, in whichever engine shows its screens.
  if (engine) made->addToEngine(*engine);
  return made;
}

}  // namespace quorvel
