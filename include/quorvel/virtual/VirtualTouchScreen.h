#pragma once

#include <QEventPoint>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QPointingDevice>
#include <QTimer>
#include <QWindow>
#include <deque>
#include <functional>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// A multi-touch screen over a window. Touches travel Qt's window-system input path as a real
// screen's do, so items, handlers and the front end cannot tell them from a person's fingers.
// Gestures play out on the event loop, one step per interval, and queue behind one another;
// done runs once a gesture's last event has been delivered. Points are in window coordinates.
class QUORVEL_EXPORT VirtualTouchScreen : public QObject {
  Q_OBJECT

 public:
  static constexpr int kMaximumTouchPoints = 10;
  // Fingers of one gesture sit side by side this far apart.
  static constexpr qreal kFingerSpacing = 30;
  // Longer than a 60 Hz frame: Qt Quick merges the moves that arrive within one frame.
  static constexpr int kStepMilliseconds = 24;

  explicit VirtualTouchScreen(QWindow* window, QObject* parent = nullptr);
  // Fingers still down are cancelled.
  ~VirtualTouchScreen() override;

  // The registered touch screen that the events name as their device.
  const QPointingDevice* device() const { return device_; }

  // fingers press around at together and lift together.
  void tap(QPointF at, int fingers = 1, std::function<void()> done = {});
  // fingers press around from, move together in steps to to, and lift together.
  void slide(QPointF from, QPointF to, int fingers = 2, int steps = 12,
             std::function<void()> done = {});
  // A left mouse button press and release at at, for desktop-style presses.
  void click(QPointF at, std::function<void()> done = {});

  // No gesture is playing or waiting.
  bool isIdle() const { return steps_.empty(); }

 private:
  using Step = std::function<void()>;

  void play(std::vector<Step> steps, std::function<void()> done);
  void runStep();
  // Delivers the fingers in fingers_ at centre with state.
  void touch(QPointF centre, QEventPoint::State state);
  void mouse(QPointF at, QEvent::Type type, Qt::MouseButtons buttons);

  QPointer<QWindow> window_;
  QPointingDevice* device_;
  QTimer timer_;
  std::deque<Step> steps_;
  // How many fingers the current gesture uses, and whether they are down.
  int fingers_ = 0;
  bool fingersDown_ = false;
};

}  // namespace quorvel
