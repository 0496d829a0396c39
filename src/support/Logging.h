#pragma once

#include <string>
#include <string_view>

namespace quorvel {

// Writes "Zephyn Log: " + message to the platform's system log.
void logLine(std::string_view message);

// An object's address as log lines show it ("0x5581...").
std::string addressText(const void* object);

}  // namespace quorvel
