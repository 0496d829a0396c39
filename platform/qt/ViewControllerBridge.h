#pragma once

#include <QObject>
#include <QQmlPropertyMap>
#include <QSizeF>
#include <QUrl>
#include <QVariantMap>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/ui/GestureRecognizer.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel {

class QuorvelImageProvider;

// Shows one core screen to QML. Its outlets are a property map (outlets.uiLbTitle.text ...), with
// colours as QML colours and images as image-provider sources; actions go back by name, text
// fields and touches through the methods below. The bridge holds its screen weakly: a screen the
// core has let go of stays drawn as it was (during a pop animation) but takes no more input.
class ViewControllerBridge : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString interfaceName READ interfaceName CONSTANT)
  Q_PROPERTY(QUrl interfaceUrl READ interfaceUrl CONSTANT)
  Q_PROPERTY(QQmlPropertyMap* outlets READ outlets CONSTANT)
  // The snapshot without its outlets: an alert's title, message and actions, for example.
  Q_PROPERTY(QVariantMap screen READ screen NOTIFY screenChanged)

 public:
  ViewControllerBridge(const std::shared_ptr<ViewController>& controller, QUrl interfaceUrl,
                       QuorvelImageProvider* images, QObject* parent = nullptr);
  ~ViewControllerBridge() override;

  QString interfaceName() const { return interfaceName_; }
  QUrl interfaceUrl() const { return interfaceUrl_; }
  QQmlPropertyMap* outlets() { return &outlets_; }
  QVariantMap screen() const { return screen_; }

  std::shared_ptr<ViewController> controller() const { return controller_.lock(); }

  // Sends the action; false when the screen is gone or has no such action.
  Q_INVOKABLE bool send(const QString& action);
  // The person edited the text field outlet.
  Q_INVOKABLE void editText(const QString& outlet, const QString& text);
  // A main button's corner radius at height, from its border type (or its own radius).
  Q_INVOKABLE qreal cornerRadius(const QString& outlet, qreal height) const;

  // From the outlet items: their laid-out size, and the touches on them.
  void setBounds(const QString& outlet, QSizeF size);
  bool hasGestureRecognizers(const QString& outlet) const;
  void handleTouches(const QString& outlet, TouchPhase phase, const std::vector<Touch>& touches);

  // Rereads the screen; runs by itself after every change of the screen.
  void refresh();

 signals:
  void screenChanged();

 private:
  std::weak_ptr<ViewController> controller_;
  QString interfaceName_;
  QUrl interfaceUrl_;
  QuorvelImageProvider* images_;
  QQmlPropertyMap outlets_;
  QVariantMap screen_;
  int observerToken_ = 0;
};

}  // namespace quorvel
