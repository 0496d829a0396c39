#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// The system's registry of file types.
class QUORVEL_EXPORT TypeRegistry {
 public:
  virtual ~TypeRegistry() = default;
  // The preferred media type of files with this extension (no dot), if the system knows one.
  virtual std::optional<std::string> preferredMIMEType(
      std::string_view filenameExtension) const = 0;
};

}  // namespace quorvel
