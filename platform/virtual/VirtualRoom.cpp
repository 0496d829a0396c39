#include "quorvel/virtual/VirtualRoom.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace quorvel {

VirtualRoom::VirtualRoom(std::function<double()> clock) : clock_(std::move(clock)) {
  if (!clock_) {
    clock_ = [] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
          .count();
    };
  }
  origin_ = clock_();
}

double VirtualRoom::now() const { return clock_() - origin_; }

std::int64_t VirtualRoom::positionLocked() const {
  return static_cast<std::int64_t>(std::floor(now() * kSampleRate));
}

std::int64_t VirtualRoom::position() const {
  std::lock_guard lock(mutex_);
  return positionLocked();
}

VirtualRoom::SoundId VirtualRoom::play(std::shared_ptr<const std::vector<std::int16_t>> samples) {
  // Placed under the lock with the moment read under it too: a microphone that has heard up to
  // some position never misses a sound starting before it.
  std::lock_guard lock(mutex_);
  const SoundId id = nextId_++;
  if (!samples || samples->empty()) return id;
  const std::int64_t start = positionLocked();
  sounds_.push_back(
      Sound{id, start, start + static_cast<std::int64_t>(samples->size()), std::move(samples)});
  return id;
}

void VirtualRoom::cut(SoundId sound) {
  std::lock_guard lock(mutex_);
  const std::int64_t at = positionLocked();
  for (Sound& each : sounds_) {
    if (each.id == sound) each.end = std::min(each.end, std::max(at, each.start));
  }
}

void VirtualRoom::mix(std::int64_t first, std::span<std::int16_t> out) const {
  std::vector<std::int32_t> sum(out.size(), 0);
  const std::int64_t last = first + static_cast<std::int64_t>(out.size());
  {
    std::lock_guard lock(mutex_);
    for (const Sound& sound : sounds_) {
      const std::int64_t from = std::max(first, sound.start);
      const std::int64_t to = std::min(last, sound.end);
      for (std::int64_t at = from; at < to; ++at) {
        sum[static_cast<std::size_t>(at - first)] +=
            (*sound.samples)[static_cast<std::size_t>(at - sound.start)];
      }
    }
  }
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = static_cast<std::int16_t>(
        std::clamp<std::int32_t>(sum[i], std::numeric_limits<std::int16_t>::min(),
                                 std::numeric_limits<std::int16_t>::max()));
  }
}

}  // namespace quorvel
