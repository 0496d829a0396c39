#pragma once

#include <QImage>
#include <functional>

#include "quorvel/Export.h"

namespace quorvel {

// What a camera adapter gives the Qt front end's camera previews: the newest picture of its
// running capture session. Plain C++ with QtGui types only, so an adapter outside the front end's
// library (a virtual camera) implements it without linking the front end. Everything here runs on
// the GUI thread.
//
// A camera plugs in through QuickFrontEnd::useCamera(camera, pictures); usually one object is
// both the Camera and its CameraPictureSource.
class QUORVEL_EXPORT CameraPictureSource {
 public:
  virtual ~CameraPictureSource() = default;

  // The newest picture of the running capture session, drawn as given (previews do not flip it);
  // a null image while no capture session runs. Scanning sessions show nothing.
  virtual QImage picture() const = 0;
  // Whom to call after each change of picture(): a new picture, and the null one when the session
  // ends. The front end sets it when the camera is installed and clears it (an empty function)
  // when it lets the camera go; there is only ever one.
  virtual void setPictureChanged(std::function<void()> changed) = 0;
};

}  // namespace quorvel
