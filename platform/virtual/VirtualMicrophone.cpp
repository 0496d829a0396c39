#include "quorvel/virtual/VirtualMicrophone.h"

#include "quorvel/Fatal.h"

namespace quorvel {

VirtualMicrophone::VirtualMicrophone(std::shared_ptr<const VirtualRoom> room)
    : room_(std::move(room)) {
  if (!room_) QUORVEL_FATAL("a virtual microphone needs a room");
  start_ = heard_ = room_->position();
}

double VirtualMicrophone::startedAt() const {
  return static_cast<double>(start_) / VirtualRoom::kSampleRate;
}

std::vector<std::int16_t> VirtualMicrophone::take() {
  const std::int64_t now = room_->position();
  std::vector<std::int16_t> samples(
      static_cast<std::size_t>(std::max<std::int64_t>(0, now - heard_)));
  room_->mix(heard_, samples);
  heard_ += static_cast<std::int64_t>(samples.size());
  return samples;
}

}  // namespace quorvel
