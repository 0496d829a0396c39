#include "AssetWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace quorvel {

namespace {

// Small pieces are gathered up to this before a write; larger ones go straight to the file.
constexpr std::size_t kFileBufferSize = 1 << 20;
constexpr std::size_t kSmallPiece = 64 << 10;
// How much is written between asking the kernel to start writing back: the final sync then finds
// little left to do, and a large upload never piles up dirty pages.
constexpr std::uint64_t kWritebackStep = 8 << 20;

bool writeAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    ssize_t written = ::write(fd, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace

AssetWriter::AssetWriter(std::filesystem::path temporaryPath, std::uint64_t maxBytes)
    : path_(std::move(temporaryPath)), maxBytes_(maxBytes) {
  // O_EXCL: never reuse a file that is already there.
  fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd_ < 0) return;
  buffer_.reserve(kFileBufferSize);
}

AssetWriter::~AssetWriter() {
  close();
  if (!moved_) {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
}

void AssetWriter::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

bool AssetWriter::write(const char* data, std::size_t size) {
  if (fd_ < 0) return false;
  if (size > maxBytes_ - size_) {
    exceededCap_ = true;
    close();
    return false;
  }
  if (size == 0) return true;
  if (!digest_.update(data, size)) {
    close();
    return false;
  }
  size_ += size;
  if (size < kSmallPiece && buffer_.size() + size <= kFileBufferSize) {
    buffer_.insert(buffer_.end(), data, data + size);
    if (buffer_.size() < kFileBufferSize) return true;
    data = nullptr;
    size = 0;
  }
  if (!flushBuffer() || !writeAll(fd_, data, size)) {
    close();
    return false;
  }
  if (size_ - writebackFrom_ >= kWritebackStep) {
    // Only a hint (Linux's): where it is missing or fails, the final sync does all the work.
#ifdef SYNC_FILE_RANGE_WRITE
    ::sync_file_range(fd_, static_cast<off_t>(writebackFrom_),
                      static_cast<off_t>(size_ - writebackFrom_), SYNC_FILE_RANGE_WRITE);
#endif
    writebackFrom_ = size_;
  }
  return true;
}

bool AssetWriter::flushBuffer() {
  bool written = writeAll(fd_, buffer_.data(), buffer_.size());
  buffer_.clear();
  return written;
}

bool AssetWriter::finish() {
  if (fd_ < 0) return false;
  sha256_ = digest_.finishHex();
  bool flushed = flushBuffer() && ::fsync(fd_) == 0;
  bool closed = ::close(fd_) == 0;
  fd_ = -1;
  close();
  if (sha256_.empty() || !flushed || !closed) {
    sha256_.clear();
    return false;
  }
  return true;
}

bool AssetWriter::moveTo(const std::filesystem::path& target) {
  if (fd_ >= 0 || sha256_.empty()) return false;
  std::error_code error;
  std::filesystem::rename(path_, target, error);
  if (error) return false;
  path_ = target;
  moved_ = true;
  return true;
}

}  // namespace quorvel
