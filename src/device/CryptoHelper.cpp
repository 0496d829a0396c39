#include "device/CryptoHelper.h"

#include <openssl/evp.h>

#include <limits>

#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

std::span<const std::uint8_t> bytesOf(std::string_view data) {
  return {reinterpret_cast<const std::uint8_t*>(data.data()), data.size()};
}

std::vector<std::uint8_t> digest(const EVP_MD* algorithm, std::span<const std::uint8_t> data) {
  // Buffers are limited to what a 32-bit length can describe, as on the platform we mirror.
  if (data.size() > std::numeric_limits<std::uint32_t>::max()) {
    QUORVEL_FATAL("digest input longer than 4294967295 bytes");
  }
  std::vector<std::uint8_t> out(static_cast<std::size_t>(EVP_MD_get_size(algorithm)));
  unsigned int length = 0;
  if (EVP_Digest(data.data(), data.size(), out.data(), &length, algorithm, nullptr) != 1) {
    QUORVEL_FATAL("EVP_Digest failed");
  }
  out.resize(length);
  return out;
}

}  // namespace

std::vector<std::uint8_t> CryptoHelper::sha256(std::span<const std::uint8_t> data) {
  return digest(EVP_sha256(), data);
}

std::vector<std::uint8_t> CryptoHelper::sha256(std::string_view data) {
  return sha256(bytesOf(data));
}

std::vector<std::uint8_t> CryptoHelper::md5(std::span<const std::uint8_t> data) {
  return digest(EVP_md5(), data);
}

std::vector<std::uint8_t> CryptoHelper::md5(std::string_view data) { return md5(bytesOf(data)); }

std::string CryptoHelper::hexString(std::span<const std::uint8_t> data) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(data.size() * 2);
  for (std::uint8_t byte : data) {
    text += digits[byte >> 4];
    text += digits[byte & 0x0F];
  }
  return text;
}

std::string CryptoHelper::hexString(std::string_view data) { return hexString(bytesOf(data)); }

}  // namespace quorvel
