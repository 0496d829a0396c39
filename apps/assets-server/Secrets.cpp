#include "Secrets.h"

#include <openssl/crypto.h>

namespace quorvel {

bool Secrets::same(std::string_view a, std::string_view b) {
  return !a.empty() && a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

bool Secrets::accepted(const std::vector<std::string>& accepted, std::string_view key) {
  bool known = false;
  for (const std::string& one : accepted) known |= same(key, one);
  return known;
}

}  // namespace quorvel
