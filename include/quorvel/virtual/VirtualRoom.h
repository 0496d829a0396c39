#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// The air around a device that has no real microphone: every sound made in it (what the app's
// speaker plays; later, other voices) lies on one timeline, mixed, for virtual microphones to
// hear. Mono 16-bit samples at kSampleRate; silence where nothing sounds. Any thread may use it.
class QUORVEL_EXPORT VirtualRoom {
 public:
  static constexpr int kSampleRate = 48000;
  using SoundId = std::uint64_t;

  // The room's time starts at construction; clock gives seconds, never going back (the steady
  // clock when none is given).
  explicit VirtualRoom(std::function<double()> clock = {});

  // Seconds since the room was made.
  double now() const;

  // Starts a sound now; sounds that overlap are mixed. Samples at kSampleRate.
  SoundId play(std::shared_ptr<const std::vector<std::int16_t>> samples);
  // Ends the sound now; nothing when it has ended already.
  void cut(SoundId sound);

  // The timeline position of now, in samples.
  std::int64_t position() const;
  // What was heard from sample first on, out.size() samples (silence before a sound starts,
  // clipped where loud sounds add up).
  void mix(std::int64_t first, std::span<std::int16_t> out) const;

 private:
  struct Sound {
    SoundId id;
    std::int64_t start;
    std::int64_t end;  // exclusive; cut short or the sound's own length
    std::shared_ptr<const std::vector<std::int16_t>> samples;
  };

  std::int64_t positionLocked() const;

  std::function<double()> clock_;
  double origin_;
  mutable std::mutex mutex_;
  std::vector<Sound> sounds_;
  SoundId nextId_ = 1;
};

}  // namespace quorvel
