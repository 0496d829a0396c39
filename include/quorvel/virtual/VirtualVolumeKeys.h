#pragma once

#include <QPointer>
#include <QWindow>
#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

// A phone's side buttons on a window: presses travel Qt's window-system input path as real key
// presses do, so whatever listens to the window's keys hears them, on a later turn of the event
// loop. The system's own volume changes (another app, the control centre) go straight to the
// volume ports, at once.
class QUORVEL_EXPORT VirtualVolumeKeys {
 public:
  VirtualVolumeKeys(QWindow* window, std::shared_ptr<VolumeEvents> volume,
                    std::shared_ptr<AudioSession> session);

  // The system moves the output level to level (0...1), not a key press.
  void setLevel(float level);
  void pressUp();
  void pressDown();
  // The screenshot chord, which desktops deliver as the Print key.
  void pressScreenshot();

 private:
  void press(Qt::Key key);

  QPointer<QWindow> window_;
  std::shared_ptr<VolumeEvents> volume_;
  std::shared_ptr<AudioSession> session_;
};

}  // namespace quorvel
