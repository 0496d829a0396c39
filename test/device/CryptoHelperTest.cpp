#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "device/CryptoHelper.h"

namespace quorvel {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(CryptoHelper, HexTextIsLowerCaseTwoDigitsPerByte) {
  const Bytes bytes = {0x00, 0x0F, 0xA0, 0x7F, 0x80, 0xFF};
  EXPECT_EQ(CryptoHelper::hexString(std::span<const std::uint8_t>(bytes)), "000fa07f80ff");
  EXPECT_EQ(CryptoHelper::hexString(
                std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())),
            "000fa07f80ff");
  EXPECT_EQ(CryptoHelper::hexString(std::string_view()), "");
}

TEST(CryptoHelper, PublishedVectors) {
  struct Case {
    std::string_view input;
    const char *sha256, *md5;
  };
  const Case cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
       "d41d8cd98f00b204e9800998ecf8427e"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       "900150983cd24fb0d6963f7d28e17f72"},
      // 56 bytes: the length no longer fits the first block.
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
       "8215ef0796a20bcaaae116d3876c664a"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::sha256(c.input)), c.sha256) << c.input;
    EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(c.input)), c.md5) << c.input;
  }
  // The empty span, not just the empty string.
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(std::span<const std::uint8_t>())),
            "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(CryptoHelperDeathTest, InputBeyondA32BitLengthIsFatal) {
  // Only the length is looked at before the digest starts, so a short buffer can claim to be huge.
  const std::uint8_t byte = 0;
  const std::size_t tooLong = std::size_t{1} << 32;
  EXPECT_DEATH(CryptoHelper::sha256(std::span<const std::uint8_t>(&byte, tooLong)), "4294967295");
  EXPECT_DEATH(CryptoHelper::md5(std::span<const std::uint8_t>(&byte, tooLong)), "4294967295");
}

}  // namespace
}  // namespace quorvel
