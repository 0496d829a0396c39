#include "qt/QuorvelImageProvider.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>
#include <QUrlQuery>
#include <cstring>

#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

// Artwork is drawn at twice its design size unless QML asks for a size, so it stays sharp when
// scaled to phone-sized layouts.
constexpr int kDefaultScale = 2;

// Where a device picture is asked for with no name (a model outside the device tables).
constexpr const char* kGenericDevice = "device_generic";

constexpr qsizetype kBitmapsKept = 8;

QImage tinted(QImage image, const QColor& tint) {
  image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
  QPainter painter(&image);
  painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
  painter.fillRect(image.rect(), tint);
  return image;
}

}  // namespace

QuorvelImageProvider::QuorvelImageProvider() : QuorvelImageProvider(std::make_shared<Library>()) {}

QuorvelImageProvider::QuorvelImageProvider(std::shared_ptr<Library> library)
    : QQuickImageProvider(QQuickImageProvider::Image), library_(std::move(library)) {}

QuorvelImageProvider* QuorvelImageProvider::share() const {
  return new QuorvelImageProvider(library_);
}

QString QuorvelImageProvider::sourceFor(const quorvel::Image& image,
                                        const std::optional<QColor>& tint) {
  QString path;
  switch (image.kind) {
    case quorvel::Image::Kind::asset:
      path = "asset/" + QString::fromStdString(image.name);
      break;
    case quorvel::Image::Kind::file:
      path = "file/" +
             QString::fromLatin1(QUrl::toPercentEncoding(QString::fromStdString(image.name)));
      break;
    case quorvel::Image::Kind::encoded: {
      QByteArray bytes(reinterpret_cast<const char*>(image.bytes.data()),
                       static_cast<qsizetype>(image.bytes.size()));
      // Named by content, so the same photo keeps its source and QML does not reload it.
      QString key = QString::fromLatin1(
          QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().left(32));
      QMutexLocker lock(&library_->mutex);
      library_->encoded.insert(key, bytes);
      path = "encoded/" + key;
      break;
    }
    case quorvel::Image::Kind::bitmap: {
      QImage bitmap(image.width, image.height, QImage::Format_Grayscale8);
      for (int row = 0; row < image.height; ++row) {
        std::memcpy(bitmap.scanLine(row),
                    image.bytes.data() + static_cast<std::size_t>(row) * image.width,
                    static_cast<std::size_t>(image.width));
      }
      QByteArray content(reinterpret_cast<const char*>(image.bytes.data()),
                         static_cast<qsizetype>(image.bytes.size()));
      content += QByteArray::number(image.width);
      QString key = QString::fromLatin1(
          QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex().left(32));
      QMutexLocker lock(&library_->mutex);
      // A run makes a few codes; keep the newest only, so a long-lived host does not collect them.
      if (!library_->bitmaps.contains(key)) {
        library_->bitmapOrder.append(key);
        if (library_->bitmapOrder.size() > kBitmapsKept) {
          library_->bitmaps.remove(library_->bitmapOrder.takeFirst());
        }
      }
      library_->bitmaps.insert(key, bitmap);
      path = "bitmap/" + key;
      break;
    }
  }
  if (image.isTemplate && tint) path += "?tint=" + tint->name(QColor::HexArgb).mid(1);
  return QStringLiteral("image://") + kProviderName + "/" + path;
}

QImage QuorvelImageProvider::loadAsset(const QString& name, const QSize& requestedSize) const {
  QString base = name.isEmpty() ? QString(kGenericDevice) : name;
  const QString candidate = ":/Quorvel/images/" + base + ".svg";
  if (!QFileInfo::exists(candidate)) QUORVEL_FATAL("missing image " + base.toStdString());
  QSvgRenderer renderer(candidate);
  if (!renderer.isValid()) QUORVEL_FATAL("unreadable image " + candidate.toStdString());
  QSize size = renderer.defaultSize() * kDefaultScale;
  if (requestedSize.width() > 0 && requestedSize.height() > 0) {
    size = renderer.defaultSize().scaled(requestedSize, Qt::KeepAspectRatio);
  } else if (requestedSize.width() > 0) {
    size = renderer.defaultSize().scaled(requestedSize.width(), INT_MAX, Qt::KeepAspectRatio);
  } else if (requestedSize.height() > 0) {
    size = renderer.defaultSize().scaled(INT_MAX, requestedSize.height(), Qt::KeepAspectRatio);
  }
  // A layout not done yet asks for a size that rounds to nothing.
  if (size.isEmpty()) size = renderer.defaultSize() * kDefaultScale;
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  renderer.render(&painter);
  return image;
}

QImage QuorvelImageProvider::requestImage(const QString& id, QSize* size,
                                          const QSize& requestedSize) {
  const auto queryStart = id.indexOf('?');
  const QString path = id.left(queryStart);
  const QUrlQuery query(queryStart < 0 ? QString() : id.mid(queryStart + 1));
  const auto slash = path.indexOf('/');
  const QString kind = path.left(slash);
  const QString rest = path.mid(slash + 1);

  QImage image;
  if (kind == "asset") {
    image = loadAsset(rest, requestedSize);
  } else if (kind == "file") {
    image = QImage(QUrl::fromPercentEncoding(rest.toLatin1()));
  } else if (kind == "encoded") {
    QMutexLocker lock(&library_->mutex);
    image = QImage::fromData(library_->encoded.value(rest));
  } else if (kind == "bitmap") {
    QMutexLocker lock(&library_->mutex);
    image = library_->bitmaps.value(rest);
  }
  // Pictures larger than their place shrink to it (a film's thumbnail, a photo); none grows, which
  // would only cost memory. A bitmap's pixels stay sharp blocks.
  if (!image.isNull() && requestedSize.width() > 0 && requestedSize.height() > 0 &&
      kind != "asset" &&
      (image.width() > requestedSize.width() || image.height() > requestedSize.height())) {
    image = image.scaled(requestedSize, Qt::KeepAspectRatio,
                         kind == "bitmap" ? Qt::FastTransformation : Qt::SmoothTransformation);
  }
  if (query.hasQueryItem("tint") && !image.isNull()) {
    image = tinted(image, QColor::fromString("#" + query.queryItemValue("tint")));
  }
  if (size) *size = image.size();
  return image;
}

}  // namespace quorvel
