#include "quorvel/Fatal.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/Logging.h"

namespace quorvel {

void fatalError(const char* file, int line, std::string_view message) {
  std::string text = "Fatal error: ";
  text += message;
  text += " (";
  text += file;
  text += ":";
  text += std::to_string(line);
  text += ")";
  std::fprintf(stderr, "%s\n", text.c_str());
  std::fflush(stderr);
  logLine(text);
  std::abort();
}

}  // namespace quorvel
