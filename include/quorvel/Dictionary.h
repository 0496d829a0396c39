#pragma once

#include <nlohmann/json.hpp>

namespace quorvel {

// Result dictionaries, the device record and the host's response are JSON values: booleans are
// JSON booleans, "version" is a string, and digested text is dump() (compact, keys sorted).
using Dictionary = nlohmann::json;

}  // namespace quorvel
