#include "qt/FrontEndSingleton.h"

#include <QQmlEngine>

#include "quorvel/Fatal.h"

namespace quorvel {

QuickFrontEnd* FrontEndSingleton::create(QQmlEngine* /*engine*/, QJSEngine* /*scriptEngine*/) {
  QuickFrontEnd* frontEnd = QuickFrontEnd::current();
  if (!frontEnd) QUORVEL_FATAL("make a quorvel::QuickFrontEnd before loading an SdkView");
  // Without this the engine would delete the host's object with itself.
  QJSEngine::setObjectOwnership(frontEnd, QJSEngine::CppOwnership);
  return frontEnd;
}

}  // namespace quorvel
