#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Sha256.h"

namespace quorvel {

// One upload on its way to disk: a temporary file that is hashed and size-capped as it is written.
// Whatever is not moved into place is removed, so a failed upload leaves nothing behind.
class AssetWriter {
 public:
  AssetWriter(std::filesystem::path temporaryPath, std::uint64_t maxBytes);
  ~AssetWriter();
  AssetWriter(const AssetWriter&) = delete;
  AssetWriter& operator=(const AssetWriter&) = delete;

  bool isOpen() const { return fd_ >= 0; }
  // False past the cap or on a write error; the upload is then abandoned.
  bool write(const char* data, std::size_t size);
  // Flushes the file to the disk, closes it and completes the digest; false on a write error.
  bool finish();
  // Renames the finished file to target on the same file system.
  bool moveTo(const std::filesystem::path& target);

  const std::filesystem::path& path() const { return path_; }
  std::uint64_t size() const { return size_; }
  bool exceededCap() const { return exceededCap_; }
  // Lower-case hexadecimal SHA-256 of the bytes written, once finished.
  const std::string& sha256() const { return sha256_; }

 private:
  void close();
  bool flushBuffer();

  std::filesystem::path path_;
  std::uint64_t maxBytes_;
  std::uint64_t size_ = 0;
  bool exceededCap_ = false;
  bool moved_ = false;
  std::uint64_t writebackFrom_ = 0;
  std::vector<char> buffer_;
  int fd_ = -1;
  Sha256 digest_;
  std::string sha256_;
};

}  // namespace quorvel
