#pragma once

#include <memory>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioPlayer.h"
#include "quorvel/platform/AudioRecorder.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/Camera.h"
#include "quorvel/platform/Clock.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/Feedback.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/platform/HttpClient.h"
#include "quorvel/platform/ImageEncoder.h"
#include "quorvel/platform/ImagePicker.h"
#include "quorvel/platform/Log.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/platform/MediaExport.h"
#include "quorvel/platform/ScreenshotEvents.h"
#include "quorvel/platform/TypeRegistry.h"
#include "quorvel/platform/UrlOpener.h"
#include "quorvel/platform/VideoPlayback.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

class Application;

// The ports, one entry each: the interface and the Platform member that holds it. Adding a port is
// one entry here plus its adapters: Platform, installPlatform and the checks of the default and
// test platforms all take their slots from this list.
#define QUORVEL_PORTS(PORT)                \
  PORT(MainQueue, mainQueue)               \
  PORT(Clock, clock)                       \
  PORT(Log, log)                           \
  PORT(HostBundle, hostBundle)             \
  PORT(Device, device)                     \
  PORT(ImagePicker, imagePicker)           \
  PORT(UrlOpener, urlOpener)               \
  PORT(HttpClient, httpClient)             \
  PORT(ImageEncoder, imageEncoder)         \
  PORT(TypeRegistry, typeRegistry)         \
  PORT(VolumeEvents, volumeEvents)         \
  PORT(ScreenshotEvents, screenshotEvents) \
  PORT(AudioSession, audioSession)         \
  PORT(AudioPlayer, audioPlayer)           \
  PORT(AudioRecorder, audioRecorder)       \
  PORT(Feedback, feedback)                 \
  PORT(Camera, camera)                     \
  PORT(MediaExport, mediaExport)           \
  PORT(VideoPlayback, videoPlayback)       \
  PORT(Application, application)

// One of each port. A front end installs its Platform before the host calls performTests. The
// ports a machine may lack (the photo picker, sound, the camera, movie playback) may stay empty:
// once installed, each empty one answers "not available" (no camera, no sound played). The Qt
// front end fills them all.
struct QUORVEL_EXPORT Platform {
#define QUORVEL_PORT_SLOT(Type, name) std::shared_ptr<Type> name;
  QUORVEL_PORTS(QUORVEL_PORT_SLOT)
#undef QUORVEL_PORT_SLOT
};

// The build's default platform, defined by the default adapters that quorvel::quorvel links (on
// Linux: platform/linux). Whoever links quorvel::core alone defines it.
QUORVEL_EXPORT Platform makeDefaultPlatform();

// The installed platform, or the default one until something is installed. Read it on the main
// queue: an adapter working on another thread takes what it needs (the main queue) beforehand.
QUORVEL_EXPORT Platform& platform();

// Installs p; ports left empty are taken from the default platform, and those it lacks too answer
// "not available".
QUORVEL_EXPORT void installPlatform(Platform p);

}  // namespace quorvel
