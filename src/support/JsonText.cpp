#include "support/JsonText.h"

#include <charconv>

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

std::string stringValue(const Dictionary& object, const std::string& key) {
  if (!object.is_object()) return "";
  auto it = object.find(key);
  return (it != object.end() && it->is_string()) ? it->get<std::string>() : std::string();
}

Dictionary floatValue(float value) {
  // Both directions ignore the C locale, which a host may have set to a comma decimal mark.
  char text[64];
  auto written = std::to_chars(text, text + sizeof text, value);
  double widened = 0;
  std::from_chars(text, written.ptr, widened);
  return widened;
}

}  // namespace quorvel
