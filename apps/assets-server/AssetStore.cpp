#include "AssetStore.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

#include "Sha256.h"

namespace quorvel {

namespace {

// Leaves room for the identifier and the metadata suffix within the usual 255-byte name limit.
constexpr std::size_t kMaxEscapedNameLength = 160;
// An application folder's name stays well within that limit, however long the application ID.
constexpr std::size_t kMaxFolderNameLength = 128;
constexpr std::size_t kFolderPrefixLength = 60;

bool isPlain(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

// A name this store could have produced: only the characters escapeName emits, never "." or "..".
bool isStoreName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return false;
  for (char c : name) {
    if (!isPlain(c) && c != '~') return false;
  }
  return true;
}

// A random (version 4) UUID in lower case.
std::string makeId() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) return {};
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::string id;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) id += '-';
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", bytes[i]);
    id += hex;
  }
  return id;
}

// Cuts an escaped name to at most length bytes, never inside an escape sequence.
void shorten(std::string& name, std::size_t length) {
  if (name.size() <= length) return;
  if (name[length - 1] == '~') {
    length -= 1;
  } else if (name[length - 2] == '~') {
    length -= 2;
  }
  name.resize(length);
}

// The original file name made safe and short; the identifier in front keeps it unique.
std::string storedFileName(std::string_view originalName) {
  std::string name = AssetStore::escapeName(originalName.empty() ? "content" : originalName);
  shorten(name, kMaxEscapedNameLength);
  // An upload named like a temporary or metadata file would be taken for one at the next start
  // and removed: the dot that begins that ending is escaped as any other byte would be.
  for (std::string_view suffix : {AssetStore::kTemporarySuffix, AssetStore::kMetadataSuffix}) {
    if (name.ends_with(suffix)) name.replace(name.size() - suffix.size(), 1, "~2E");
  }
  return name;
}

bool writeAtomically(const std::filesystem::path& target, const std::string& text) {
  std::filesystem::path temporary = target;
  temporary += AssetStore::kTemporarySuffix;
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out || !AssetStore::sync(temporary)) {
      std::error_code ignored;
      std::filesystem::remove(temporary, ignored);
      return false;
    }
  }
  std::error_code error;
  std::filesystem::rename(temporary, target, error);
  if (error) std::filesystem::remove(temporary, error);
  return !error;
}

bool endsWith(const std::string& text, std::string_view suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), std::string::npos, suffix.data(),
                      suffix.size()) == 0;
}

}  // namespace

AssetStore::AssetStore(std::filesystem::path root) : root_(std::move(root)) {}

bool AssetStore::sync(const std::filesystem::path& path) {
  // A read-only descriptor is enough to flush a file's data, or a folder's entries, to the disk.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bool synced = ::fsync(fd) == 0;
  ::close(fd);
  return synced;
}

std::size_t AssetStore::removeLeftovers() const {
  std::size_t removed = 0;
  std::error_code error;
  bool removedFromRoot = false;
  for (const auto& folder : std::filesystem::directory_iterator(root_, error)) {
    if (!folder.is_directory(error)) {
      // Uploads are received in the root until they are stored.
      if (folder.is_regular_file(error) &&
          endsWith(folder.path().filename().string(), kTemporarySuffix) &&
          std::filesystem::remove(folder.path(), error)) {
        ++removed;
        removedFromRoot = true;
      }
      continue;
    }
    std::vector<std::filesystem::path> doomed;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path(), error)) {
      const std::filesystem::path& path = entry.path();
      const std::string name = path.filename().string();
      std::filesystem::path partner = path;
      if (endsWith(name, kTemporarySuffix)) {
        doomed.push_back(path);
      } else if (endsWith(name, kMetadataSuffix)) {
        partner.replace_filename(name.substr(0, name.size() - kMetadataSuffix.size()));
        if (!std::filesystem::exists(partner, error)) doomed.push_back(path);
      } else {
        partner += kMetadataSuffix;
        if (!std::filesystem::exists(partner, error)) doomed.push_back(path);
      }
    }
    for (const auto& path : doomed) removed += std::filesystem::remove(path, error) ? 1 : 0;
    if (!doomed.empty()) sync(folder.path());
  }
  if (removedFromRoot) sync(root_);
  return removed;
}

std::string AssetStore::escapeName(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string name;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    bool dotName = c == '.' && (text == "." || text == "..");
    if (isPlain(c) && !dotName) {
      name += c;
    } else {
      name += '~';
      name += kHex[byte >> 4];
      name += kHex[byte & 0x0F];
    }
  }
  return name;
}

std::string AssetStore::folderName(std::string_view appID) {
  std::string name = escapeName(appID);
  if (name.size() <= kMaxFolderNameLength) return name;
  // The start keeps the folder recognisable; the digest keeps long IDs apart. escapeName never
  // writes "~~", so no short ID's folder can look like this.
  std::string digest = Sha256::hexOf(appID);
  if (digest.empty()) return {};
  shorten(name, kFolderPrefixLength);
  return name + "~~" + digest;
}

AssetStore::Pending AssetStore::begin(std::string_view appID, std::uint64_t maxBytes) const {
  Pending pending;
  pending.folder = folderName(appID);
  pending.id = makeId();
  if (pending.folder.empty() || pending.id.empty()) return pending;
  // In the root, not the app's folder: an upload that is refused must not leave a folder behind.
  auto writer =
      std::make_unique<AssetWriter>(root_ / (pending.id + std::string(kTemporarySuffix)), maxBytes);
  if (writer->isOpen()) pending.writer = std::move(writer);
  return pending;
}

std::optional<std::string> AssetStore::commit(Pending& pending, std::string_view originalName,
                                              nlohmann::json metadata) const {
  if (!pending.writer) return std::nullopt;
  std::string name = pending.id + "-" + storedFileName(originalName);
  std::filesystem::path file = root_ / pending.folder / name;
  std::error_code error;
  // A new folder is made durable before anything in it is.
  if (std::filesystem::create_directories(file.parent_path(), error) && !sync(root_)) {
    return std::nullopt;
  }
  if (error || !pending.writer->moveTo(file)) return std::nullopt;

  metadata["stored_filename"] = name;
  metadata["size"] = pending.writer->size();
  metadata["sha256"] = pending.writer->sha256();
  std::filesystem::path metadataFile = file;
  metadataFile += kMetadataSuffix;
  // Invalid UTF-8 in a client's file name must not lose the upload.
  std::string text = metadata.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  // The answer promises the upload is kept: the renames reach the disk before it goes out.
  if (!writeAtomically(metadataFile, text) || !sync(file.parent_path())) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    std::filesystem::remove(metadataFile, ignored);
    return std::nullopt;
  }
  return name;
}

std::optional<AssetStore::Asset> AssetStore::find(std::string_view folder,
                                                  std::string_view name) const {
  if (!isStoreName(folder) || !isStoreName(name)) return std::nullopt;
  std::filesystem::path file = root_ / folder / name;
  std::filesystem::path metadataFile = file;
  metadataFile += kMetadataSuffix;

  // Only a file with its own metadata is an asset: temporary and metadata files are not.
  std::ifstream in(metadataFile, std::ios::binary);
  if (!in) return std::nullopt;
  nlohmann::json metadata = nlohmann::json::parse(in, nullptr, false);
  if (!metadata.is_object() || metadata["stored_filename"] != std::string(name) ||
      !metadata["media_type"].is_string()) {
    return std::nullopt;
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  std::uint64_t size = std::filesystem::file_size(file, error);
  if (error) return std::nullopt;
  return Asset{file, metadata["media_type"].get<std::string>(), size};
}

}  // namespace quorvel
