#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace quorvel::testing {

// A fresh directory under the system's temporary folder, removed with its contents on destruction.
// Tests build fake system trees (/sys, /proc, /etc) and documents folders in it.
class TemporaryTree {
 public:
  explicit TemporaryTree(const std::string& prefix) {
    std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed for " + pattern);
    root_ = pattern;
  }
  ~TemporaryTree() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  TemporaryTree(const TemporaryTree&) = delete;
  TemporaryTree& operator=(const TemporaryTree&) = delete;

  const std::filesystem::path& path() const { return root_; }

  // Writes content to relative (parents created), byte for byte.
  void write(const std::filesystem::path& relative, const std::string& content) const {
    std::filesystem::path file = root_ / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
  }

 private:
  std::filesystem::path root_;
};

// The bytes of a file; "" when it cannot be read.
inline std::string fileContents(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace quorvel::testing
