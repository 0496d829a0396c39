#pragma once

#include "quorvel/Export.h"

namespace quorvel {

// Debug builds stop when core code runs off the main queue: the host must call in on it, and an
// adapter that answers on another thread must hop back before it touches the core. Release builds
// check nothing.
QUORVEL_EXPORT void checkOnMainQueue(const char* where);

}  // namespace quorvel
