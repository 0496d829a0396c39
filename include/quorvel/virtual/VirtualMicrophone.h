#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// A microphone in a VirtualRoom: it hears the room from the moment it is made on.
class QUORVEL_EXPORT VirtualMicrophone {
 public:
  explicit VirtualMicrophone(std::shared_ptr<const VirtualRoom> room);

  // The room's seconds at which the microphone started hearing.
  double startedAt() const;
  // What it heard since the last call (since it started, the first time), at the room's rate.
  std::vector<std::int16_t> take();

 private:
  std::shared_ptr<const VirtualRoom> room_;
  std::int64_t start_;
  std::int64_t heard_;
};

}  // namespace quorvel
