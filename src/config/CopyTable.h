#pragma once

#include <string>
#include <unordered_map>

namespace quorvel {

// Copy key to text, for one language.
using CopyTable = std::unordered_map<std::string, std::string>;

}  // namespace quorvel
