#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

// Content fingerprints (never security): SHA-256 and MD5 digests and their lower-case hex text.
struct CryptoHelper {
  static std::vector<std::uint8_t> sha256(std::span<const std::uint8_t> data);
  static std::vector<std::uint8_t> sha256(std::string_view data);
  static std::vector<std::uint8_t> md5(std::span<const std::uint8_t> data);
  static std::vector<std::uint8_t> md5(std::string_view data);
  static std::string hexString(std::span<const std::uint8_t> data);
  static std::string hexString(std::string_view data);
};

}  // namespace quorvel
