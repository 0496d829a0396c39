#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

// Secrets (API keys, session tokens) compared in constant time: how far a guess matched, or which
// key it matched, must not show in the timing.
class Secrets {
 public:
  // Whether a is b; an empty a is never a secret.
  static bool same(std::string_view a, std::string_view b);
  // Whether key is one of accepted; every one is compared.
  static bool accepted(const std::vector<std::string>& accepted, std::string_view key);
};

}  // namespace quorvel
