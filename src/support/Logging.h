#pragma once

#include <string_view>

namespace quorvel {

// Writes "Zephyn Log: " + message to the platform's system log.
void logLine(std::string_view message);

}  // namespace quorvel
