#pragma once

#include <functional>
#include <optional>
#include <string>

#include "quorvel/Export.h"
#include "quorvel/platform/Subscription.h"

namespace quorvel {

// What the application's sound is for. Playing and recording together is what the word and
// recording tests set.
enum class AudioCategory { playback, playAndRecord };
enum class AudioMode { standard };
struct QUORVEL_EXPORT AudioCategoryOptions {
  // Play-and-record sound goes to the earpiece unless this sends it to the loudspeaker.
  bool defaultToSpeaker = false;
};
// Where played sound comes out: the loudspeaker, or the earpiece a phone holds to the ear.
enum class AudioRoute { loudspeaker, earpiece };

// The application's shared audio session: what its sound is for and where it goes, whether it is
// active, and the system's output volume with change observation.
class QUORVEL_EXPORT AudioSession {
 public:
  virtual ~AudioSession() = default;

  // Empty when applied, else why not. Players started afterwards use the new route.
  virtual std::optional<std::string> setCategory(AudioCategory category, AudioMode mode,
                                                 AudioCategoryOptions options) = 0;
  virtual std::optional<std::string> setActive(bool active) = 0;
  virtual bool isActive() const = 0;
  virtual AudioCategory category() const = 0;
  // Playback alone and play-and-record with defaultToSpeaker use the loudspeaker; play-and-record
  // without it, the earpiece.
  virtual AudioRoute outputRoute() const = 0;

  // 0.0 to 1.0.
  virtual float outputVolume() const = 0;
  // The platform reports every change of the level on the main queue, including a key press that
  // leaves it at 0.0 or 1.0.
  virtual Subscription observeOutputVolume(std::function<void(float volume)> observer) = 0;
};

}  // namespace quorvel
