#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <memory>

#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/ScreenshotEvents.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

// The hardware keys of a Qt window: volume up and down become explicit volume changes, Print a
// screenshot. With no system mixer to read, the level is tracked here in steps of 1/16 from the
// audio session's level, clamped to 0...1 (a press at either end still reports, as on phones).
class QtHardwareKeys : public QObject {
  Q_OBJECT

 public:
  static constexpr float kStep = 1.0f / 16.0f;

  QtHardwareKeys(std::shared_ptr<VolumeEvents> volume, std::shared_ptr<AudioSession> session,
                 std::shared_ptr<ScreenshotEvents> screenshots, QObject* parent = nullptr);

  // Listens to window's keys (only one window at a time).
  void attach(QWindow* window);
  void setSession(std::shared_ptr<AudioSession> session) { session_ = std::move(session); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void pressVolume(float step);

  std::shared_ptr<VolumeEvents> volume_;
  std::shared_ptr<AudioSession> session_;
  std::shared_ptr<ScreenshotEvents> screenshots_;
  QPointer<QWindow> window_;
};

}  // namespace quorvel
