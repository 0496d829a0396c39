#pragma once

#include <optional>
#include <string_view>

namespace quorvel {

// The console's pages, style sheet and script (apps/assets-server/console), built into the program
// as bytes: the server needs no files of its own at run time, and what it serves cannot drift from
// what it was built with.
class ConsoleFiles {
 public:
  struct File {
    std::string_view bytes;
    std::string_view mediaType;
  };

  // The file of that name (no folders), or nothing.
  static std::optional<File> find(std::string_view name);
};

}  // namespace quorvel
