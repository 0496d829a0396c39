#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quorvel/platform/TypeRegistry.h"

namespace quorvel {

// File types from the shared-mime-info database (the globs2 files under each XDG data directory),
// which is what desktop Linux uses to name a file's media type.
class SharedMimeInfoTypeRegistry : public TypeRegistry {
 public:
  // Empty: $XDG_DATA_HOME and $XDG_DATA_DIRS with their usual defaults.
  explicit SharedMimeInfoTypeRegistry(std::vector<std::string> dataDirectories = {});

  std::optional<std::string> preferredMIMEType(std::string_view filenameExtension) const override;

 private:
  struct Entry {
    int weight = 0;
    std::string mimeType;
  };
  void load() const;
  void loadFile(const std::string& path, std::map<std::string, Entry>& caseSensitive,
                std::map<std::string, Entry>& caseInsensitive) const;

  std::vector<std::string> directories_;
  mutable std::once_flag loaded_;
  mutable std::map<std::string, Entry> caseSensitive_;
  mutable std::map<std::string, Entry> caseInsensitive_;  // keys in lower case
};

}  // namespace quorvel
