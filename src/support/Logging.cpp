#include "support/Logging.h"

#include <cstdio>
#include <string>

#include "quorvel/platform/Platform.h"

namespace quorvel {

void logLine(std::string_view message) {
  auto& log = platform().log;
  if (!log) return;
  // compat: the prefix support tools filter the system log by.
  std::string line = "Zephyn Log: ";
  line += message;
  log->write(line);
}

std::string addressText(const void* object) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", object);
  return text;
}

}  // namespace quorvel
