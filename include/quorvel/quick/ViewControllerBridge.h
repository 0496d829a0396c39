#pragma once

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QQmlPropertyMap>
#include <QSizeF>
#include <QUrl>
#include <QVariantMap>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/ui/GestureRecognizer.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel {

class QuorvelImageProvider;

// Shows one core screen to QML (type Quorvel.Screen). Each outlet is a property map of its own
// (outlets.uiLbTitle.text ...) holding the element's values, colours as QML colours (transparent
// where the core sets none) and images as image-provider sources. After each change of the screen
// only the values that changed are set, so QML re-evaluates only what depends on them. Actions go
// back by name, text fields and touches through the methods below. The bridge holds its screen
// weakly: a screen the core has let go of stays drawn as it was (during a pop animation) but takes
// no more input.
class QUORVEL_EXPORT ViewControllerBridge : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(Screen)
  QML_UNCREATABLE("screens come from the front end")
  Q_PROPERTY(QString interfaceName READ interfaceName CONSTANT)
  Q_PROPERTY(QUrl interfaceUrl READ interfaceUrl CONSTANT)
  Q_PROPERTY(QQmlPropertyMap* outlets READ outlets CONSTANT)
  // For an alert: its title, message and actions ([{title, style}]); empty for other screens.
  Q_PROPERTY(QVariantMap alert READ alert NOTIFY alertChanged)

 public:
  ViewControllerBridge(const std::shared_ptr<ViewController>& controller, QUrl interfaceUrl,
                       QuorvelImageProvider* images, QObject* parent = nullptr);
  ~ViewControllerBridge() override;

  QString interfaceName() const { return interfaceName_; }
  QUrl interfaceUrl() const { return interfaceUrl_; }
  QQmlPropertyMap* outlets() { return &outlets_; }
  QVariantMap alert() const { return alert_; }
  // The values of one outlet as QML sees them; nullptr for no such outlet.
  QQmlPropertyMap* outlet(const QString& name) const;

  std::shared_ptr<ViewController> controller() const { return controller_.lock(); }

  // Sends the action; false when the screen is gone or has no such action.
  Q_INVOKABLE bool send(const QString& action);
  // The person edited the text field outlet.
  Q_INVOKABLE void editText(const QString& outlet, const QString& text);
  // A button's corner radius at height: from its border type (-1 for none) or its own radius.
  Q_INVOKABLE qreal cornerRadius(int borderType, qreal ownRadius, qreal height) const;

  // From the outlet items: their laid-out size, and the touches on them.
  void setBounds(const QString& outlet, QSizeF size);
  bool hasGestureRecognizers(const QString& outlet) const;
  void handleTouches(const QString& outlet, TouchPhase phase, const std::vector<Touch>& touches);

  // Rereads the screen; runs by itself after every change of the screen.
  void refresh();

 signals:
  void alertChanged();

 private:
  // The last image an outlet showed and its source, so that an unchanged photo is not
  // registered again.
  struct ImageSource {
    std::optional<Image> image;
    std::optional<Color> tint;
    QString source;
  };

  void update(const std::string& name, const Element& element);
  QString imageSource(const std::string& name, const std::optional<Image>& image,
                      const std::optional<Color>& tint);

  std::weak_ptr<ViewController> controller_;
  QString interfaceName_;
  QUrl interfaceUrl_;
  QuorvelImageProvider* images_;
  QQmlPropertyMap outlets_;
  std::map<std::string, QQmlPropertyMap*> outletValues_;  // children of this bridge
  std::map<std::string, ImageSource> imageSources_;
  QVariantMap alert_;
  int observerToken_ = 0;
};

}  // namespace quorvel
