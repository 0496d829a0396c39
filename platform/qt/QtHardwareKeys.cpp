#include "qt/QtHardwareKeys.h"

#include <QKeyEvent>
#include <algorithm>

#include "quorvel/platform/TrackedAudioSession.h"

namespace quorvel {

QtHardwareKeys::QtHardwareKeys(std::shared_ptr<VolumeEvents> volume,
                               std::shared_ptr<AudioSession> session,
                               std::shared_ptr<ScreenshotEvents> screenshots, QObject* parent)
    : QObject(parent),
      volume_(std::move(volume)),
      session_(std::move(session)),
      screenshots_(std::move(screenshots)) {}

void QtHardwareKeys::attach(QWindow* window) {
  if (window_) window_->removeEventFilter(this);
  window_ = window;
  if (window_) window_->installEventFilter(this);
}

bool QtHardwareKeys::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) {
    return QObject::eventFilter(watched, event);
  }
  auto* key = static_cast<QKeyEvent*>(event);
  const bool press = event->type() == QEvent::KeyPress;
  switch (key->key()) {
    case Qt::Key_VolumeUp:
      if (press) pressVolume(kStep);
      return true;
    case Qt::Key_VolumeDown:
      if (press) pressVolume(-kStep);
      return true;
    case Qt::Key_Print:
      if (press && !key->isAutoRepeat()) screenshots_->userDidTakeScreenshot();
      return true;
    default:
      return QObject::eventFilter(watched, event);
  }
}

void QtHardwareKeys::pressVolume(float step) {
  const float level = std::clamp(session_->outputVolume() + step, 0.0f, 1.0f);
  reportVolumeChange(*volume_, *session_, {level, true});
}

}  // namespace quorvel
