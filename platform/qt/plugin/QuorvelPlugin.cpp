// The QML module Quorvel's plugin. Besides registering the module's types, it hands QuorvelRun
// the autopilot of quorvel::virtual, which the front end itself does not depend on.
#include <QtQml/qqmlextensionplugin.h>

#include <memory>

#include "qt/QuorvelRun.h"
#include "quorvel/virtual/Autopilot.h"

extern void qml_register_types_Quorvel();
Q_GHS_KEEP_REFERENCE(qml_register_types_Quorvel)

class QuorvelPlugin : public QQmlEngineExtensionPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QQmlEngineExtensionInterface_iid)

 public:
  explicit QuorvelPlugin(QObject* parent = nullptr) : QQmlEngineExtensionPlugin(parent) {
    volatile auto registration = &qml_register_types_Quorvel;
    Q_UNUSED(registration)
    quorvel::QuorvelRun::setAutopilotMaker(
        [](quorvel::QuickFrontEnd& frontEnd, std::function<void(const QString&)> stuck) {
          auto autopilot = std::make_unique<quorvel::Autopilot>(frontEnd);
          QObject::connect(autopilot.get(), &quorvel::Autopilot::stuck, autopilot.get(),
                           [stuck](const QString& what) { stuck(what); });
          return std::unique_ptr<QObject>(std::move(autopilot));
        });
  }
};

#include "QuorvelPlugin.moc"
