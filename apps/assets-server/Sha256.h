#pragma once

#include <cstddef>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace quorvel {

// A SHA-256 digest of bytes fed piece by piece, given as lower-case hex.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  // False when the digest cannot go on; every later call then fails too.
  bool update(const char* data, std::size_t size);
  bool update(std::string_view bytes) { return update(bytes.data(), bytes.size()); }
  // Ends the digest: its hex text, or empty when it failed.
  std::string finishHex();

  static std::string hexOf(std::string_view bytes);

 private:
  evp_md_ctx_st* context_ = nullptr;
};

}  // namespace quorvel
