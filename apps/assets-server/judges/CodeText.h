#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// A front-video QR code's text taken apart:
// "start;imei=356938035643809;2026-11-26T10:15:21.456+0000" is the kind ("start" or "end"), the
// device's identifier part ("imei=…", "vendorID=…" or "no_identifier") and the moment it was made.
struct CodeText {
  std::string kind;
  std::string identifier;
  // Milliseconds since 1970-01-01 UTC.
  std::int64_t millis = 0;

  // Nothing when the text is not a code of that shape.
  static std::optional<CodeText> parse(std::string_view text);
  // A timestamp as the SDK writes them ("yyyy-MM-ddTHH:mm:ss.SSS+hhmm"), in milliseconds since
  // 1970-01-01 UTC; nothing for any other text or an impossible date.
  static std::optional<std::int64_t> parseTimestamp(std::string_view text);
};

}  // namespace quorvel
