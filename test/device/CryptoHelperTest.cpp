#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "device/CryptoHelper.h"

namespace quorvel {
namespace {

TEST(CryptoHelper, PublishedVectorsInLowerCaseHex) {
  const std::vector<std::uint8_t> bytes = {0x00, 0x0F, 0xA0, 0xFF};
  EXPECT_EQ(CryptoHelper::hexString(std::span<const std::uint8_t>(bytes)), "000fa0ff");
  // 56 bytes: the length no longer fits the first block.
  const std::string_view input = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::sha256(input)),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(input)), "8215ef0796a20bcaaae116d3876c664a");
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(std::span<const std::uint8_t>())),
            "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(CryptoHelperDeathTest, InputBeyondA32BitLengthIsFatal) {
  // Only the length is looked at before the digest starts, so a short buffer can claim to be huge.
  const std::uint8_t byte = 0;
  EXPECT_DEATH(CryptoHelper::sha256(std::span<const std::uint8_t>(&byte, std::size_t{1} << 32)),
               "4294967295");
}

}  // namespace
}  // namespace quorvel
