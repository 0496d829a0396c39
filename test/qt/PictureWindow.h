#pragma once

#include <QImage>
#include <QQuickWindow>
#include <string>

namespace quorvel::testing {

// An offscreen window that shows one picture, stretched over it: what a mirror camera films.
class PictureWindow : public QQuickWindow {
 public:
  explicit PictureWindow(QSize size = {390, 844});

  void showPicture(const QImage& picture);
  // A QR code of text (byte mode, level M) in the middle of a white window.
  void showCode(const std::string& text);

 private:
  class PictureItem;
  PictureItem* item_;
};

}  // namespace quorvel::testing
