#pragma once

#include <memory>

#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/Clock.h"
#include "quorvel/platform/Device.h"
#include "quorvel/platform/HostBundle.h"
#include "quorvel/platform/HttpClient.h"
#include "quorvel/platform/ImageEncoder.h"
#include "quorvel/platform/ImagePicker.h"
#include "quorvel/platform/Log.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/platform/ScreenshotEvents.h"
#include "quorvel/platform/TypeRegistry.h"
#include "quorvel/platform/UrlOpener.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

class Application;

// One of each port. A front end installs its Platform before the host calls performTests.
struct Platform {
  std::shared_ptr<MainQueue> mainQueue;
  std::shared_ptr<Clock> clock;
  std::shared_ptr<Log> log;
  std::shared_ptr<HostBundle> hostBundle;
  std::shared_ptr<Device> device;
  std::shared_ptr<ImagePicker> imagePicker;
  std::shared_ptr<UrlOpener> urlOpener;
  std::shared_ptr<HttpClient> httpClient;
  std::shared_ptr<ImageEncoder> imageEncoder;
  std::shared_ptr<TypeRegistry> typeRegistry;
  std::shared_ptr<VolumeEvents> volumeEvents;
  std::shared_ptr<ScreenshotEvents> screenshotEvents;
  std::shared_ptr<AudioSession> audioSession;
  // The application's windows; a platform without a front end has none.
  std::shared_ptr<Application> application;
};

// The build's default platform, defined by the default adapters that quorvel::quorvel links (on
// Linux: platform/linux). Whoever links quorvel::core alone defines it.
Platform makeDefaultPlatform();

// The installed platform, or the default one until something is installed.
Platform& platform();

// Installs p; ports left null are taken from the default platform.
void installPlatform(Platform p);

}  // namespace quorvel
