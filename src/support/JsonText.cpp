#include "support/JsonText.h"

#include <charconv>
#include <cstdlib>

#include "device/CryptoHelper.h"

namespace quorvel {

std::optional<std::string> jsonText(const Dictionary& value) {
  try {
    return value.dump();
  } catch (const Dictionary::type_error&) {
    return std::nullopt;
  }
}

std::string jsonDigest(const Dictionary& value, const std::string& suffix) {
  auto text = jsonText(value);
  if (!text) return "";
  *text += suffix;
  return CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(*text)));
}

Dictionary floatValue(float value) {
  char text[64];
  auto result = std::to_chars(text, text + sizeof text - 1, value);
  *result.ptr = '\0';
  return std::strtod(text, nullptr);
}

}  // namespace quorvel
