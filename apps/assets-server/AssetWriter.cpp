#include "AssetWriter.h"

#include <openssl/evp.h>
#include <unistd.h>

#include <array>
#include <system_error>
#include <utility>

namespace quorvel {

namespace {

// Large enough that a 256 MiB upload is not dominated by system calls.
constexpr std::size_t kFileBufferSize = 1 << 20;

}  // namespace

AssetWriter::AssetWriter(std::filesystem::path temporaryPath, std::uint64_t maxBytes)
    : path_(std::move(temporaryPath)), maxBytes_(maxBytes), buffer_(kFileBufferSize) {
  // "x": never reuse a file that is already there.
  file_ = std::fopen(path_.c_str(), "wbx");
  if (!file_) return;
  std::setvbuf(file_, buffer_.data(), _IOFBF, buffer_.size());
  digest_ = EVP_MD_CTX_new();
  if (!digest_ || EVP_DigestInit_ex(digest_, EVP_sha256(), nullptr) != 1) close();
}

AssetWriter::~AssetWriter() {
  close();
  if (!moved_) {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
}

void AssetWriter::close() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  EVP_MD_CTX_free(digest_);
  digest_ = nullptr;
}

bool AssetWriter::write(const char* data, std::size_t size) {
  if (!file_) return false;
  if (size > maxBytes_ - size_) {
    exceededCap_ = true;
    close();
    return false;
  }
  if (size == 0) return true;
  if (std::fwrite(data, 1, size, file_) != size || EVP_DigestUpdate(digest_, data, size) != 1) {
    close();
    return false;
  }
  size_ += size;
  return true;
}

bool AssetWriter::finish() {
  if (!file_) return false;
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned int length = 0;
  bool digested = EVP_DigestFinal_ex(digest_, digest.data(), &length) == 1;
  bool flushed = std::fflush(file_) == 0 && !std::ferror(file_) && ::fsync(::fileno(file_)) == 0;
  bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  close();
  if (!digested || !flushed || !closed) return false;
  static constexpr char kHex[] = "0123456789abcdef";
  sha256_.clear();
  for (unsigned int i = 0; i < length; ++i) {
    sha256_ += kHex[digest[i] >> 4];
    sha256_ += kHex[digest[i] & 0x0F];
  }
  return true;
}

bool AssetWriter::moveTo(const std::filesystem::path& target) {
  if (file_ || sha256_.empty()) return false;
  std::error_code error;
  std::filesystem::rename(path_, target, error);
  if (error) return false;
  path_ = target;
  moved_ = true;
  return true;
}

}  // namespace quorvel
