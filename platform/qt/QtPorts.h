#pragma once

#include <QImage>
#include <QObject>
#include <QUrl>
#include <functional>
#include <memory>

#include "qt/QtVideoPlayback.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/quick/CameraPictureSource.h"

namespace quorvel {

class QtHardwareKeys;
class QtImagePicker;

// The Qt front end's ports over the build's default platform: a main queue on Qt's event loop, the
// application with its windows' hardware keys, the photo picker, the sound player and recorder,
// the camera with the pictures its previews show, and movie playback. What only a scene can do
// (ask for a photo, show a movie, redraw a preview) is handed back to the front end.
class QtPorts {
 public:
  struct FrontEnd {
    std::function<void()> pickImage;
    std::function<void(const QUrl& movie, QtVideoPlayback::Closed closed)> showMovie;
    std::function<void()> cameraPictureChanged;
  };

  // owner parents the Qt objects (the main queue, the keys).
  QtPorts(QObject* owner, FrontEnd frontEnd);
  ~QtPorts();

  const Platform& platform() const { return platform_; }
  QtImagePicker& picker() const { return *picker_; }
  QtHardwareKeys& keys() const { return *keys_; }

  // Replace the camera (with the source of its pictures) or the sound session; the installed
  // platform gets the new one where it held the one before.
  void useCamera(std::shared_ptr<Camera> camera, std::shared_ptr<CameraPictureSource> pictures);
  void useAudioSession(std::shared_ptr<AudioSession> session);
  QImage cameraPicture() const { return pictures_ ? pictures_->picture() : QImage(); }

 private:
  FrontEnd frontEnd_;
  Platform platform_;
  std::shared_ptr<QtImagePicker> picker_;
  QtHardwareKeys* keys_;
  std::shared_ptr<CameraPictureSource> pictures_;
};

}  // namespace quorvel
