#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "device/CryptoHelper.h"

namespace quorvel {
namespace {

using namespace std::string_view_literals;
using Bytes = std::vector<std::uint8_t>;

std::string sha256Hex(std::string_view text) {
  return CryptoHelper::hexString(CryptoHelper::sha256(text));
}
std::string md5Hex(std::string_view text) {
  return CryptoHelper::hexString(CryptoHelper::md5(text));
}

TEST(CryptoHelper, HexTextIsLowerCaseTwoDigitsPerByte) {
  struct Case {
    Bytes bytes;
    const char* hex;
  };
  const std::vector<Case> cases = {
      {{}, ""},
      {{0x00, 0x0F, 0xA0}, "000fa0"},
      {{0xFF}, "ff"},
      {{0x10, 0x01}, "1001"},
      {{0xDE, 0xAD, 0xBE, 0xEF}, "deadbeef"},
      {{0x7F, 0x80, 0x09, 0x90}, "7f800990"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CryptoHelper::hexString(std::span<const std::uint8_t>(c.bytes)), c.hex);
    std::string_view text(reinterpret_cast<const char*>(c.bytes.data()), c.bytes.size());
    EXPECT_EQ(CryptoHelper::hexString(text), c.hex);
  }
}

TEST(CryptoHelper, PublishedVectors) {
  struct Case {
    std::string_view input;
    const char* sha256;
    const char* md5;
  };
  const Case cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
       "d41d8cd98f00b204e9800998ecf8427e"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
       "900150983cd24fb0d6963f7d28e17f72"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
       "8215ef0796a20bcaaae116d3876c664a"},
      {"message digest", "f7846f55cf23e14eebeab5b4e1550cad5b509e3348fbc4efa3a1413d393cb650",
       "f96b697d7cb7938d525a2f31aaf161d0"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CryptoHelper::sha256(c.input).size(), 32u);
    EXPECT_EQ(CryptoHelper::md5(c.input).size(), 16u);
    EXPECT_EQ(sha256Hex(c.input), c.sha256) << '"' << c.input << '"';
    EXPECT_EQ(md5Hex(c.input), c.md5) << '"' << c.input << '"';
  }
  // The empty span, not just the empty string.
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::sha256(std::span<const std::uint8_t>())),
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
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
