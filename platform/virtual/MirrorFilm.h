#pragma once

#include <QImage>
#include <QPointer>
#include <QQuickWindow>
#include <QTimer>
#include <functional>

namespace quorvel {

// Films a window as a mirror in front of it shows it: grabWindow() about 15 times a second on the
// GUI thread, each picture turned left for right, in 32-bit B, G, R, A memory order. The window
// is asked for on every frame, so it may change while filming.
class MirrorFilm {
 public:
  static constexpr int kFramesPerSecond = 15;

  MirrorFilm(std::function<QQuickWindow*()> window, std::function<void(const QImage&)> frame);

  void start();
  void stop();

 private:
  void shoot();

  std::function<QQuickWindow*()> window_;
  std::function<void(const QImage&)> frame_;
  QTimer timer_;
};

}  // namespace quorvel
