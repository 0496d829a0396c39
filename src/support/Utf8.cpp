#include "support/Utf8.h"

#include <cstdint>
#include <vector>

namespace quorvel {

namespace {

struct Decoded {
  char32_t codePoint;
  std::size_t length;  // 0 when the bytes at the position are not valid UTF-8
};

Decoded decodeAt(std::string_view text, std::size_t i) {
  auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
  std::uint8_t b0 = byte(i);
  if (b0 < 0x80) return {b0, 1};
  std::size_t length = 0;
  char32_t cp = 0;
  char32_t minimum = 0;
  if ((b0 & 0xE0) == 0xC0) {
    length = 2, cp = b0 & 0x1F, minimum = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    length = 3, cp = b0 & 0x0F, minimum = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    length = 4, cp = b0 & 0x07, minimum = 0x10000;
  } else {
    return {0, 0};
  }
  if (i + length > text.size()) return {0, 0};
  for (std::size_t k = 1; k < length; ++k) {
    std::uint8_t b = byte(i + k);
    if ((b & 0xC0) != 0x80) return {0, 0};
    cp = (cp << 6) | (b & 0x3F);
  }
  if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return {0, 0};
  return {cp, length};
}

// Walks text as code points; invalid bytes are passed through one at a time as U+FFFD.
template <class Visit>
void forEachCodePoint(std::string_view text, Visit visit) {
  for (std::size_t i = 0; i < text.size();) {
    Decoded d = decodeAt(text, i);
    std::size_t length = d.length == 0 ? 1 : d.length;
    visit(d.length == 0 ? char32_t{0xFFFD} : d.codePoint, i, length);
    i += length;
  }
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    Decoded d = decodeAt(text, i);
    if (d.length == 0) return false;
    i += d.length;
  }
  return true;
}

bool isUnicodeWhitespace(char32_t c) {
  switch (c) {
    case 0x09:
    case 0x0A:
    case 0x0B:
    case 0x0C:
    case 0x0D:
    case 0x20:
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
      return true;
    default:
      return c >= 0x2000 && c <= 0x200A;
  }
}

std::string removingWhitespace(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  forEachCodePoint(text, [&](char32_t c, std::size_t at, std::size_t length) {
    if (!isUnicodeWhitespace(c)) out.append(text.substr(at, length));
  });
  return out;
}

std::string lowercased(std::string_view text) {
  std::string lower(text);
  for (std::size_t i = 0; i < lower.size(); ++i) {
    auto byte = static_cast<unsigned char>(lower[i]);
    if (byte >= 'A' && byte <= 'Z') {
      lower[i] = static_cast<char>(byte + 32);
    } else if (byte == 0xC3 && i + 1 < lower.size()) {
      // U+00C0...U+00DE are the capitals of U+00E0...U+00FE, but for U+00D7 (multiplication).
      auto next = static_cast<unsigned char>(lower[i + 1]);
      if (next >= 0x80 && next <= 0x9E && next != 0x97) lower[i + 1] = static_cast<char>(next + 32);
      ++i;
    }
  }
  return lower;
}

std::string trimmingWhitespace(std::string_view text) {
  std::size_t first = text.size();
  std::size_t end = 0;
  forEachCodePoint(text, [&](char32_t c, std::size_t at, std::size_t length) {
    if (isUnicodeWhitespace(c)) return;
    if (first == text.size()) first = at;
    end = at + length;
  });
  if (first == text.size()) return {};
  return std::string(text.substr(first, end - first));
}

}  // namespace quorvel
