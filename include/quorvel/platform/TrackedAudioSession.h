#pragma once

#include <functional>

#include "quorvel/Export.h"
#include "quorvel/platform/AudioSession.h"
#include "quorvel/platform/ObserverList.h"
#include "quorvel/platform/VolumeEvents.h"

namespace quorvel {

// An audio session whose level is what whoever sees the volume keys (a front end, virtual keys)
// says it is, starting from a level of its own: all there is on systems without a mixer the SDK
// can read. A session that reads a mixer builds on it and also hears the system's own changes.
class QUORVEL_EXPORT TrackedAudioSession : public AudioSession {
 public:
  explicit TrackedAudioSession(float outputVolume = 1.0f) : outputVolume_(outputVolume) {}

  std::optional<std::string> setCategory(AudioCategory category, AudioMode,
                                         AudioCategoryOptions options) override {
    category_ = category;
    route_ = category == AudioCategory::playAndRecord && !options.defaultToSpeaker
                 ? AudioRoute::earpiece
                 : AudioRoute::loudspeaker;
    return std::nullopt;
  }
  std::optional<std::string> setActive(bool active) override {
    active_ = active;
    return std::nullopt;
  }
  bool isActive() const override { return active_; }
  AudioCategory category() const override { return category_; }
  AudioRoute outputRoute() const override { return route_; }
  float outputVolume() const override { return outputVolume_; }
  Subscription observeOutputVolume(std::function<void(float volume)> observer) override {
    return observers_.add(std::move(observer));
  }

  // The keys or the system changed the level; call on the main queue. Every call notifies, even
  // at an unchanged level (a key pressed at either end).
  virtual void outputVolumeDidChange(float volume) {
    outputVolume_ = volume;
    observers_.notify(volume);
  }

 protected:
  // The level as learnt from elsewhere, without a notification.
  void startFrom(float volume) { outputVolume_ = volume; }

 private:
  bool active_ = false;
  AudioCategory category_ = AudioCategory::playback;
  AudioRoute route_ = AudioRoute::loudspeaker;
  float outputVolume_;
  ObserverList<float> observers_;
};

// Reports a change of the output level that keys or the system made: as a volume event, then to the
// session when it is one that is told its level (a session on a mixer passes it on to the mixer).
inline void reportVolumeChange(VolumeEvents& events, AudioSession& session,
                               const VolumeChange& change) {
  events.report(change);
  if (auto* tracked = dynamic_cast<TrackedAudioSession*>(&session)) {
    tracked->outputVolumeDidChange(change.volume);
  }
}

}  // namespace quorvel
