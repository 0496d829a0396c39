#pragma once

#include <QColor>
#include <QHash>
#include <QMutex>
#include <QQuickImageProvider>
#include <QStringList>
#include <optional>

#include "quorvel/Image.h"

namespace quorvel {

// Draws the core's images for QML ("image://quorvel/..."): the SDK's SVG artwork by asset name,
// files, and encoded bytes such as a chosen photo. Template images are painted in their tint
// colour by compositing, which every scene-graph backend shows (no shader effects).
class QuorvelImageProvider : public QQuickImageProvider {
 public:
  static constexpr const char* kProviderName = "quorvel";

  QuorvelImageProvider();

  // The QML source of image tinted with tint (templates only), or an empty string for no image.
  QString sourceFor(const quorvel::Image& image, const std::optional<QColor>& tint);

  // Folders searched for "<name>.svg" / "<name>.png" after the SDK's own artwork, for the
  // host's own asset names.
  void addSearchPath(const QString& directory);

  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

 private:
  QImage loadAsset(const QString& name, const QSize& requestedSize) const;

  mutable QMutex mutex_;
  QHash<QString, QByteArray> encoded_;
  QStringList searchPaths_;
};

}  // namespace quorvel
