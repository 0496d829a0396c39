#pragma once

#include "quorvel/platform/Platform.h"

namespace quorvel {

// p with every port a machine may lack (the photo picker, sound, the camera, movie playback,
// export, URL opening, the type registry) that p leaves empty answering "not available", so no
// reader ever tests for a null port. The other ports are the core's own ground: one missing is a
// programming error of whoever assembled p.
Platform withAbsentPortsAnswering(Platform p);

}  // namespace quorvel
