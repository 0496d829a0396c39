#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// Strict UTF-8 validation (no overlongs, no surrogates, nothing above U+10FFFF).
bool isValidUtf8(std::string_view text);

// Whitespace and line-break characters, ASCII and Unicode (as Foundation's whitespace sets).
bool isUnicodeWhitespace(char32_t c);

// text without any whitespace character anywhere in it.
std::string removingWhitespace(std::string_view text);

// Present and not empty: empty strings count as absent throughout the SDK.
inline bool hasText(const std::optional<std::string>& value) { return value && !value->empty(); }

// text without whitespace and line breaks at both ends.
std::string trimmingWhitespace(std::string_view text);

// text with the capitals of ASCII and Latin-1 (the letters of English and Portuguese, accented
// ones too) in lower case; other characters as they are.
std::string lowercased(std::string_view text);

}  // namespace quorvel
