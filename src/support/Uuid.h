#pragma once

#include <string>

namespace quorvel {

// A fresh random (version 4) UUID in upper case with hyphens, e.g.
// "1B4E28BA-2FA1-41D2-883F-0016D3CCA427".
std::string makeUUIDString();

}  // namespace quorvel
