#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/platform/Subscription.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

// Passes the volume changes that the person made with the hardware keys on to the application,
// as the notification volumeDidChangeNotification with user info {"volume": new level}. It does
// not tell up from down, and keeps nothing away from the ends of the range.
class VolumeListener {
 public:
  // compat: the other platform's notification name, which hosts observe.
  inline static const std::string volumeDidChangeNotification =
      "MPMusicPlayerControllerVolumeDidChangeNotification";

  explicit VolumeListener(const Platform& ports)
      : application_(ports.application), volumeEvents_(ports.volumeEvents) {}

  // compat: "hasSetup", the name earlier releases gave it. The owner calls setup only while this
  // is false, and sets it after the call.
  bool hasSetup = false;

  // Starts listening, unless the application has no window with a root screen to listen for.
  // Each call adds one more registration.
  void setup();

 private:
  void volumeChanged(const VolumeChange& change);

  std::shared_ptr<Application> application_;
  std::shared_ptr<VolumeEvents> volumeEvents_;
  // Listening ends with the owner.
  std::vector<Subscription> registrations_;
};

}  // namespace quorvel
