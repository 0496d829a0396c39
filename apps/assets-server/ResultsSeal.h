#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// The seal of an uploaded results document {"sha256": hex, "data": {...}}: the lower-case hex
// SHA-256 of the text of "data", exactly as it stands in the document, followed by the app ID.
// Re-serialising "data" would not do: another writer may order or space it differently.
//
// Documents are read as a stream and never held whole: memory stays a few hundred KiB whatever the
// document's size or shape.
class ResultsSeal {
 public:
  static constexpr std::string_view kDocumentName = "jsonResults.json";

  // Deeper nesting than this makes a document's seal invalid; results documents are a few levels.
  static constexpr std::size_t kMaxDepth = 64;

  // A results document is small; a larger one is not read back to check its seal.
  static constexpr std::uintmax_t kMaxDocumentBytes = 64 << 20;

  // True when document is such an object and its "sha256" matches the seal.
  static bool verify(std::string_view document, std::string_view appID);
  // The same for a stored document; one larger than kMaxDocumentBytes is not checked (false).
  static bool verifyFile(const std::filesystem::path& file, std::string_view appID);

  // The raw text of the value of a top-level member of a JSON object (the last one when the key
  // repeats, as parsers do); nothing when the document is not a JSON object or lacks the key.
  static std::optional<std::string> memberText(std::string_view document, std::string_view key);

  // Lower-case hexadecimal SHA-256 of bytes followed by more.
  static std::string sha256Hex(std::string_view bytes, std::string_view more = {});
};

}  // namespace quorvel
