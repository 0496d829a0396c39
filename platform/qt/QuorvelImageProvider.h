#pragma once

#include <QColor>
#include <QHash>
#include <QMutex>
#include <QQuickImageProvider>
#include <QStringList>
#include <memory>
#include <optional>

#include "quorvel/Image.h"

namespace quorvel {

// Draws the core's images for QML ("image://quorvel/..."): the SDK's SVG artwork by asset name,
// files, and encoded bytes such as a chosen photo. Template images are painted in their tint
// colour by compositing, which every scene-graph backend shows (no shader effects).
// Each engine owns its own provider; providers made by share() draw from the same photos and
// search paths, so a source made by one is drawn by all.
class QuorvelImageProvider : public QQuickImageProvider {
 public:
  static constexpr const char* kProviderName = "quorvel";

  QuorvelImageProvider();
  // A new provider (for another engine to own) over this one's images.
  QuorvelImageProvider* share() const;

  // The QML source of image tinted with tint (templates only), or an empty string for no image.
  QString sourceFor(const quorvel::Image& image, const std::optional<QColor>& tint);

  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

 private:
  struct Library {
    QMutex mutex;
    QHash<QString, QByteArray> encoded;
    QHash<QString, QImage> bitmaps;
    QStringList bitmapOrder;
  };

  explicit QuorvelImageProvider(std::shared_ptr<Library> library);
  QImage loadAsset(const QString& name, const QSize& requestedSize) const;

  // Reached from the engines' image threads as well as the GUI thread.
  std::shared_ptr<Library> library_;
};

}  // namespace quorvel
