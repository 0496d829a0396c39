#include "MirrorFilm.h"

namespace quorvel {

MirrorFilm::MirrorFilm(std::function<QQuickWindow*()> window,
                       std::function<void(const QImage&)> frame)
    : window_(std::move(window)), frame_(std::move(frame)) {
  timer_.setTimerType(Qt::PreciseTimer);
  timer_.callOnTimeout([this] { shoot(); });
}

void MirrorFilm::start() {
  // The first picture on the next turn of the event loop, not inside the caller: the first grab
  // of a window can take half a second.
  timer_.start(0);
}

void MirrorFilm::stop() { timer_.stop(); }

void MirrorFilm::shoot() {
  if (timer_.interval() == 0) timer_.setInterval(1000 / kFramesPerSecond);
  QQuickWindow* window = window_();
  if (window == nullptr || !window->isExposed()) return;
  QImage picture = window->grabWindow();
  if (picture.isNull()) return;
  switch (picture.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
      break;
    default:
      picture.convertTo(QImage::Format_RGB32);
  }
  picture.mirror(true, false);
  frame_(picture);
}

}  // namespace quorvel
