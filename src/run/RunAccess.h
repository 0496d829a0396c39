#pragma once

#include "quorvel/Export.h"

namespace quorvel {

// For the SDK's own front ends (QuorvelRun's cancel()): ends the shared run in progress as the
// person's cancel does; false when none is in progress. On the main queue.
QUORVEL_EXPORT bool cancelRunInProgress();

}  // namespace quorvel
