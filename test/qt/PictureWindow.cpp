#include "PictureWindow.h"

#include <gtest/gtest.h>

#include <QPainter>
#include <QQuickPaintedItem>
#include <QTest>

#include "support/GreyPicture.h"

namespace quorvel::testing {

class PictureWindow::PictureItem : public QQuickPaintedItem {
 public:
  QImage picture;
  void paint(QPainter* painter) override { painter->drawImage(boundingRect(), picture); }
};

PictureWindow::PictureWindow(QSize size) : item_(new PictureItem) {
  resize(size);
  item_->setParent(contentItem());  // owned, not only drawn, by the window
  item_->setParentItem(contentItem());
  item_->setSize(size);
  show();
  if (!QTest::qWaitForWindowExposed(this)) ADD_FAILURE() << "the picture window was not shown";
}

void PictureWindow::showPicture(const QImage& picture) {
  item_->picture = picture;
  item_->update();
}

void PictureWindow::showCode(const std::string& text) {
  GreyPicture code(1200, 1200);
  const int side = code.drawCode(text, 0, 0, 8);
  const QImage grey(code.pixels.data(), side, side, code.rowStride, QImage::Format_Grayscale8);
  QImage screen(size(), QImage::Format_RGB32);
  screen.fill(Qt::white);
  const int fitted = std::min(side, width() - 20);
  QPainter(&screen).drawImage(
      QRect((width() - fitted) / 2, (height() - fitted) / 2, fitted, fitted), grey);
  showPicture(screen);
}

}  // namespace quorvel::testing
