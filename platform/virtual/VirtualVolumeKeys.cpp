#include "quorvel/virtual/VirtualVolumeKeys.h"

#include <qpa/qwindowsysteminterface.h>

#include "quorvel/Fatal.h"
#include "quorvel/platform/TrackedAudioSession.h"

namespace quorvel {

VirtualVolumeKeys::VirtualVolumeKeys(QWindow* window, std::shared_ptr<VolumeEvents> volume,
                                     std::shared_ptr<AudioSession> session)
    : window_(window), volume_(std::move(volume)), session_(std::move(session)) {
  if (!window || !volume_ || !session_) {
    QUORVEL_FATAL("virtual volume keys need a window and the volume ports");
  }
}

void VirtualVolumeKeys::setLevel(float level) {
  if (!(level >= 0.0f && level <= 1.0f)) QUORVEL_FATAL("a volume level lies within 0...1");
  // Presses made before still wait in the window system's queue: they happen first.
  if (QWindowSystemInterface::windowSystemEventsQueued() > 0) {
    QWindowSystemInterface::flushWindowSystemEvents();
  }
  reportVolumeChange(*volume_, *session_, {level, false});
}

void VirtualVolumeKeys::pressUp() { press(Qt::Key_VolumeUp); }

void VirtualVolumeKeys::pressDown() { press(Qt::Key_VolumeDown); }

void VirtualVolumeKeys::pressScreenshot() { press(Qt::Key_Print); }

void VirtualVolumeKeys::press(Qt::Key key) {
  // A window that closed has no keys to press.
  if (!window_) return;
  QWindowSystemInterface::handleKeyEvent(window_, QEvent::KeyPress, key, Qt::NoModifier);
  QWindowSystemInterface::handleKeyEvent(window_, QEvent::KeyRelease, key, Qt::NoModifier);
}

}  // namespace quorvel
