#include "tests/physical/VolumeListener.h"

#include "quorvel/ui/Application.h"
#include "support/JsonText.h"
#include "support/NotificationCenter.h"

namespace quorvel {

void VolumeListener::setup() {
  // Volume keys reach an application only through a window on screen.
  const auto& windows = application_->windows();
  if (windows.empty() || !windows.front()->rootViewController()) return;
  registrations_.push_back(
      volumeEvents_->addObserver([this](const VolumeChange& change) { volumeChanged(change); }));
}

void VolumeListener::volumeChanged(const VolumeChange& change) {
  // Changes by the system or by other apps are not the person's key presses.
  if (!change.explicitChange) return;
  NotificationCenter::defaultCenter().post(volumeDidChangeNotification,
                                           {{"volume", floatValue(change.volume)}});
}

}  // namespace quorvel
