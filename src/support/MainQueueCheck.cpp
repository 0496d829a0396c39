#include "support/MainQueueCheck.h"

#include <string>

#include "quorvel/Fatal.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

void checkOnMainQueue([[maybe_unused]] const char* where) {
#ifndef NDEBUG
  if (!platform().mainQueue->isCurrent()) {
    QUORVEL_FATAL(std::string(where) + " ran off the main queue");
  }
#endif
}

}  // namespace quorvel
