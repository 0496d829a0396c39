#include "Sha256.h"

#include <openssl/evp.h>

#include <array>

namespace quorvel {

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
  if (context_ && EVP_DigestInit_ex(context_, EVP_sha256(), nullptr) != 1) {
    EVP_MD_CTX_free(context_);
    context_ = nullptr;
  }
}

Sha256::~Sha256() { EVP_MD_CTX_free(context_); }

bool Sha256::update(const char* data, std::size_t size) {
  if (context_ && EVP_DigestUpdate(context_, data, size) == 1) return true;
  EVP_MD_CTX_free(context_);
  context_ = nullptr;
  return false;
}

std::string Sha256::finishHex() {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  const bool done = context_ && EVP_DigestFinal_ex(context_, digest.data(), &length) == 1;
  EVP_MD_CTX_free(context_);
  context_ = nullptr;
  if (!done) return {};
  static constexpr char kHex[] = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    hex += kHex[digest[i] >> 4];
    hex += kHex[digest[i] & 0x0F];
  }
  return hex;
}

std::string Sha256::hexOf(std::string_view bytes) {
  Sha256 digest;
  digest.update(bytes);
  return digest.finishHex();
}

}  // namespace quorvel
