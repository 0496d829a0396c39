#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

// The system's registry of file types.
class TypeRegistry {
 public:
  virtual ~TypeRegistry() = default;
  // The preferred media type of files with this extension (no dot), if the system knows one.
  virtual std::optional<std::string> preferredMIMEType(
      std::string_view filenameExtension) const = 0;
};

}  // namespace quorvel
