#include "linux/SharedMimeInfoTypeRegistry.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace quorvel {

namespace {

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

std::vector<std::string> defaultDirectories() {
  std::vector<std::string> directories;
  const char* dataHome = std::getenv("XDG_DATA_HOME");
  const char* home = std::getenv("HOME");
  if (dataHome != nullptr && *dataHome != '\0') {
    directories.emplace_back(dataHome);
  } else if (home != nullptr && *home != '\0') {
    directories.push_back(std::string(home) + "/.local/share");
  }
  const char* dataDirs = std::getenv("XDG_DATA_DIRS");
  std::string list =
      (dataDirs != nullptr && *dataDirs != '\0') ? dataDirs : "/usr/local/share:/usr/share";
  std::stringstream parts(list);
  for (std::string part; std::getline(parts, part, ':');) {
    if (!part.empty()) directories.push_back(part);
  }
  return directories;
}

}  // namespace

SharedMimeInfoTypeRegistry::SharedMimeInfoTypeRegistry(std::vector<std::string> dataDirectories)
    : directories_(dataDirectories.empty() ? defaultDirectories() : std::move(dataDirectories)) {}

void SharedMimeInfoTypeRegistry::loadFile(const std::string& path,
                                          std::map<std::string, Entry>& caseSensitive,
                                          std::map<std::string, Entry>& caseInsensitive) const {
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    // weight:type:glob[:flags[:...]]
    if (line.empty() || line[0] == '#') continue;
    std::stringstream fields(line);
    std::string weightText, mimeType, glob, flags;
    if (!std::getline(fields, weightText, ':') || !std::getline(fields, mimeType, ':') ||
        !std::getline(fields, glob, ':')) {
      continue;
    }
    std::getline(fields, flags, ':');
    // Only plain "*.ext" globs name an extension; "__NOGLOBS__" and patterns are skipped.
    if (glob.size() < 3 || glob.compare(0, 2, "*.") != 0 ||
        glob.find_first_of("*?[", 2) != std::string::npos) {
      continue;
    }
    int weight = std::atoi(weightText.c_str());
    bool sensitive = flags.find("cs") != std::string::npos;
    std::string extension = glob.substr(2);
    auto& table = sensitive ? caseSensitive : caseInsensitive;
    std::string key = sensitive ? extension : lowerCase(extension);
    // The highest weight wins; on a tie the first line, which the database lists as preferred.
    auto found = table.find(key);
    if (found == table.end() || weight > found->second.weight) {
      table[key] = Entry{weight, mimeType};
    }
  }
}

void SharedMimeInfoTypeRegistry::load() const {
  std::call_once(loaded_, [this] {
    // Earlier directories take precedence, so read them last.
    for (auto it = directories_.rbegin(); it != directories_.rend(); ++it) {
      std::map<std::string, Entry> sensitive, insensitive;
      loadFile(*it + "/mime/globs2", sensitive, insensitive);
      for (auto& [key, entry] : sensitive) caseSensitive_[key] = entry;
      for (auto& [key, entry] : insensitive) caseInsensitive_[key] = entry;
    }
  });
}

std::optional<std::string> SharedMimeInfoTypeRegistry::preferredMIMEType(
    std::string_view filenameExtension) const {
  if (filenameExtension.empty()) return std::nullopt;
  load();
  if (auto found = caseSensitive_.find(std::string(filenameExtension));
      found != caseSensitive_.end()) {
    return found->second.mimeType;
  }
  if (auto found = caseInsensitive_.find(lowerCase(filenameExtension));
      found != caseInsensitive_.end()) {
    return found->second.mimeType;
  }
  return std::nullopt;
}

}  // namespace quorvel
