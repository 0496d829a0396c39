#pragma once

#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// Logs a programming error (to the system log and standard error) and aborts.
[[noreturn]] QUORVEL_EXPORT void fatalError(const char* file, int line, std::string_view message);

}  // namespace quorvel

// Programming errors: a missing resource, an unset outlet, a broken invariant.
#define QUORVEL_FATAL(message) ::quorvel::fatalError(__FILE__, __LINE__, (message))
