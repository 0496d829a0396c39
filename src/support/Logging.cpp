#include "support/Logging.h"

#include <string>

#include "quorvel/platform/Platform.h"

namespace quorvel {

void logLine(std::string_view message) {
  auto& log = platform().log;
  if (!log) return;
  std::string line = "Zephyn Log: ";
  line += message;
  log->write(line);
}

}  // namespace quorvel
