#include "ResultsSeal.h"

#include <cstddef>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Sha256.h"

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

// The last member named key of the object document, which the parser has accepted.
std::optional<std::string_view> scanMember(std::string_view document, std::string_view key) {
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

}  // namespace

std::optional<std::string_view> ResultsSeal::memberText(std::string_view document,
                                                        std::string_view key) {
  if (!nlohmann::json::accept(document)) return std::nullopt;
  return scanMember(document, key);
}

bool ResultsSeal::verify(std::string_view document, std::string_view appID) {
  // No tree of the document is built: one as deep or as wide as its bytes allow would cost many
  // times its size in memory.
  if (!withinDepth(document)) return false;
  std::optional<std::string_view> seal = scanMember(document, "sha256");
  std::optional<std::string_view> data = scanMember(document, "data");
  if (!seal || !data || data->front() != '{' || seal->front() != '"') return false;
  std::string expected = sha256Hex(*data, appID);
  return !expected.empty() && nlohmann::json::parse(*seal).get<std::string>() == expected;
}

bool ResultsSeal::verifyFile(const std::filesystem::path& file, std::string_view appID) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (error || size > kMaxDocumentBytes) return false;
  std::ifstream in(file, std::ios::binary);
  std::string document(size, '\0');
  if (!in.read(document.data(), static_cast<std::streamsize>(size))) return false;
  return verify(document, appID);
}

bool ResultsSeal::withinDepth(std::string_view document) {
  // Stops at the first level too deep, so the parser's own stack stays small as well.
  struct DepthLimit : nlohmann::json::json_sax_t {
    std::size_t depth = 0;
    bool open() { return ++depth <= kMaxDepth; }
    bool close() {
      --depth;
      return true;
    }
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override { return open(); }
    bool key(string_t&) override { return true; }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
      return false;
    }
  } limit;
  return nlohmann::json::sax_parse(document, &limit);
}

std::string ResultsSeal::sha256Hex(std::string_view bytes, std::string_view more) {
  // Digested piece by piece: the document is not copied to append the app ID.
  Sha256 digest;
  digest.update(bytes);
  digest.update(more);
  return digest.finishHex();
}

}  // namespace quorvel
