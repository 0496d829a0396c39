#include "quorvel/platform/Platform.h"

#include <optional>

#include "quorvel/ui/Application.h"

namespace quorvel {

namespace {

std::optional<Platform>& installed() {
  static std::optional<Platform> instance;
  return instance;
}

template <class T>
void fillFrom(std::shared_ptr<T>& port, const std::shared_ptr<T>& fallback) {
  if (!port) port = fallback;
}

}  // namespace

Platform& platform() {
  auto& current = installed();
  if (!current) installPlatform(Platform{});
  return *current;
}

void installPlatform(Platform p) {
  Platform fallback = makeDefaultPlatform();
  fillFrom(p.mainQueue, fallback.mainQueue);
  fillFrom(p.clock, fallback.clock);
  fillFrom(p.log, fallback.log);
  fillFrom(p.hostBundle, fallback.hostBundle);
  fillFrom(p.device, fallback.device);
  fillFrom(p.imagePicker, fallback.imagePicker);
  fillFrom(p.urlOpener, fallback.urlOpener);
  fillFrom(p.httpClient, fallback.httpClient);
  fillFrom(p.imageEncoder, fallback.imageEncoder);
  fillFrom(p.typeRegistry, fallback.typeRegistry);
  fillFrom(p.volumeEvents, fallback.volumeEvents);
  fillFrom(p.screenshotEvents, fallback.screenshotEvents);
  fillFrom(p.audioSession, fallback.audioSession);
  fillFrom(p.application, fallback.application);
  if (!p.application) p.application = std::make_shared<Application>();
  // Event ports need no adapter: without one they simply report nothing.
  if (!p.volumeEvents) p.volumeEvents = std::make_shared<VolumeEvents>();
  if (!p.screenshotEvents) p.screenshotEvents = std::make_shared<ScreenshotEvents>();
  if (!p.audioSession) p.audioSession = std::make_shared<AudioSession>();
  installed() = std::move(p);
}

}  // namespace quorvel
