#pragma once

#include <string>
#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// Writes "Zephyn Log: " + message to the platform's system log.
QUORVEL_EXPORT void logLine(std::string_view message);

// An object's address as log lines show it ("0x5581...").
QUORVEL_EXPORT std::string addressText(const void* object);

}  // namespace quorvel
