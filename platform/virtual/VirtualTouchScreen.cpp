#include "quorvel/virtual/VirtualTouchScreen.h"

#include <private/qhighdpiscaling_p.h>
#include <qpa/qwindowsysteminterface.h>

#include <QGuiApplication>

#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

// Each virtual screen is a device of its own; the ids only need to differ from the system's.
qint64 nextSystemId() {
  static qint64 next = 0x51560000;
  return next++;
}

// The contact patch of a fingertip, in native pixels.
constexpr qreal kFingerDiameter = 8;

}  // namespace

VirtualTouchScreen::VirtualTouchScreen(QWindow* window, QObject* parent)
    : QObject(parent),
      window_(window),
      device_(new QPointingDevice(
          QStringLiteral("Quorvel virtual touch screen"), nextSystemId(),
          QInputDevice::DeviceType::TouchScreen, QPointingDevice::PointerType::Finger,
          QInputDevice::Capability::Position | QInputDevice::Capability::Area |
              QInputDevice::Capability::Pressure,
          kMaximumTouchPoints, 0, QString(), QPointingDeviceUniqueId(), this)) {
  if (!window) QUORVEL_FATAL("a virtual touch screen needs a window");
  QWindowSystemInterface::registerInputDevice(device_);
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &VirtualTouchScreen::runStep);
}

VirtualTouchScreen::~VirtualTouchScreen() {
  if (fingersDown_ && window_) {
    QWindowSystemInterface::handleTouchCancelEvent(window_, device_);
  }
  // Queued events name the device, which goes with this screen.
  if (QGuiApplication::instance() && QWindowSystemInterface::windowSystemEventsQueued() > 0) {
    QWindowSystemInterface::flushWindowSystemEvents();
  }
}

void VirtualTouchScreen::tap(QPointF at, int fingers, std::function<void()> done) {
  if (fingers < 1 || fingers > kMaximumTouchPoints) QUORVEL_FATAL("a tap needs 1 to 10 fingers");
  play({[this, at, fingers] {
          fingers_ = fingers;
          touch(at, QEventPoint::State::Pressed);
        },
        [this, at] { touch(at, QEventPoint::State::Released); }},
       std::move(done));
}

void VirtualTouchScreen::slide(QPointF from, QPointF to, int fingers, int steps,
                               std::function<void()> done) {
  if (fingers < 1 || fingers > kMaximumTouchPoints) {
    QUORVEL_FATAL("a slide needs 1 to 10 fingers");
  }
  if (steps < 1) QUORVEL_FATAL("a slide moves in one step at least");
  std::vector<Step> script{[this, from, fingers] {
    fingers_ = fingers;
    touch(from, QEventPoint::State::Pressed);
  }};
  for (int step = 1; step <= steps; ++step) {
    const QPointF at = from + (to - from) * (qreal(step) / steps);
    script.push_back([this, at] { touch(at, QEventPoint::State::Updated); });
  }
  script.push_back([this, to] { touch(to, QEventPoint::State::Released); });
  play(std::move(script), std::move(done));
}

void VirtualTouchScreen::click(QPointF at, std::function<void()> done) {
  play({[this, at] {
          // The pointer travels there first, as a hand moves the mouse.
          mouse(at, QEvent::MouseMove, Qt::NoButton);
          mouse(at, QEvent::MouseButtonPress, Qt::LeftButton);
        },
        [this, at] { mouse(at, QEvent::MouseButtonRelease, Qt::NoButton); }},
       std::move(done));
}

void VirtualTouchScreen::play(std::vector<Step> steps, std::function<void()> done) {
  for (auto& step : steps) steps_.push_back(std::move(step));
  steps_.push_back([done = std::move(done)] {
    // The last events may still wait in the window system's queue.
    QWindowSystemInterface::flushWindowSystemEvents();
    if (done) done();
  });
  if (!timer_.isActive()) timer_.start(kStepMilliseconds);
}

void VirtualTouchScreen::runStep() {
  if (steps_.empty()) return;
  Step step = std::move(steps_.front());
  steps_.pop_front();
  if (!steps_.empty()) timer_.start(kStepMilliseconds);
  // Last, because a completion may end this screen.
  step();
}

void VirtualTouchScreen::touch(QPointF centre, QEventPoint::State state) {
  fingersDown_ = state != QEventPoint::State::Released;
  // A window that closed has nothing to touch.
  if (!window_) return;
  QList<QWindowSystemInterface::TouchPoint> points;
  for (int finger = 0; finger < fingers_; ++finger) {
    const QPointF offset((finger - (fingers_ - 1) / 2.0) * kFingerSpacing, 0);
    const QPointF global = window_->mapToGlobal(centre + offset);
    QWindowSystemInterface::TouchPoint point;
    point.id = finger;
    point.state = state;
    point.pressure = state == QEventPoint::State::Released ? 0 : 1;
    point.area = QRectF(0, 0, kFingerDiameter, kFingerDiameter);
    point.area.moveCenter(QHighDpi::toNativeGlobalPosition(global, window_.data()));
    points.append(point);
  }
  QWindowSystemInterface::handleTouchEvent(window_, device_, points);
}

void VirtualTouchScreen::mouse(QPointF at, QEvent::Type type, Qt::MouseButtons buttons) {
  if (!window_) return;
  QWindowSystemInterface::handleMouseEvent(
      window_, QHighDpi::toNativeLocalPosition(at, window_.data()),
      QHighDpi::toNativeGlobalPosition(window_->mapToGlobal(at), window_.data()), buttons,
      type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, type);
}

}  // namespace quorvel
