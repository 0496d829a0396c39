#include "ResultsSeal.h"

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <nlohmann/json.hpp>

namespace quorvel {

namespace {

// The scanners below run only on text the JSON parser accepted, so they never leave it.

bool isJsonSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

std::size_t skipSpace(std::string_view text, std::size_t at) {
  while (at < text.size() && isJsonSpace(text[at])) ++at;
  return at;
}

// From an opening quote to just past the closing one.
std::size_t skipString(std::string_view text, std::size_t at) {
  for (++at; text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
  }
  return at + 1;
}

std::size_t skipValue(std::string_view text, std::size_t at) {
  char first = text[at];
  if (first == '"') return skipString(text, at);
  if (first == '{' || first == '[') {
    int depth = 0;
    while (true) {
      char c = text[at];
      if (c == '"') {
        at = skipString(text, at);
        continue;
      }
      if (c == '{' || c == '[') ++depth;
      if ((c == '}' || c == ']') && --depth == 0) return at + 1;
      ++at;
    }
  }
  // A number or a literal.
  while (at < text.size() && !isJsonSpace(text[at]) && text[at] != ',' && text[at] != '}' &&
         text[at] != ']') {
    ++at;
  }
  return at;
}

// A key as the parser reads it: escapes such as "d\u0061ta" name "data" too.
std::string keyOf(std::string_view quoted) {
  if (quoted.find('\\') == std::string_view::npos) {
    return std::string(quoted.substr(1, quoted.size() - 2));
  }
  return nlohmann::json::parse(quoted).get<std::string>();
}

}  // namespace

std::optional<std::string_view> ResultsSeal::memberText(std::string_view document,
                                                        std::string_view key) {
  if (!nlohmann::json::accept(document)) return std::nullopt;
  // The parser skips a leading byte-order mark; so must we.
  std::size_t at = document.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  at = skipSpace(document, at);
  if (document[at] != '{') return std::nullopt;

  std::optional<std::string_view> found;
  at = skipSpace(document, at + 1);
  while (document[at] == '"') {
    std::size_t keyEnd = skipString(document, at);
    std::string name = keyOf(document.substr(at, keyEnd - at));
    std::size_t valueStart = skipSpace(document, skipSpace(document, keyEnd) + 1);
    std::size_t valueEnd = skipValue(document, valueStart);
    if (name == key) found = document.substr(valueStart, valueEnd - valueStart);
    at = skipSpace(document, valueEnd);
    if (document[at] == ',') at = skipSpace(document, at + 1);
  }
  return found;
}

bool ResultsSeal::verify(std::string_view document, std::string_view appID) {
  nlohmann::json parsed = nlohmann::json::parse(document, nullptr, false);
  if (!parsed.is_object() || !parsed["sha256"].is_string() || !parsed["data"].is_object()) {
    return false;
  }
  std::optional<std::string_view> data = memberText(document, "data");
  if (!data) return false;
  std::string sealed(*data);
  sealed += appID;
  std::string expected = sha256Hex(sealed);
  return !expected.empty() && parsed["sha256"].get<std::string>() == expected;
}

std::string ResultsSeal::sha256Hex(std::string_view bytes) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1) {
    return {};
  }
  static constexpr char kHex[] = "0123456789abcdef";
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    hex += kHex[digest[i] >> 4];
    hex += kHex[digest[i] & 0x0F];
  }
  return hex;
}

}  // namespace quorvel
