#pragma once

#include "quorvel/QuorvelSDK.h"

namespace quorvel::testing {

// Puts the run controller back as a host finds it: no run, default settings.
void resetRun(QuorvelSDK& sdk);

}  // namespace quorvel::testing
