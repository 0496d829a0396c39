#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "AssetWriter.h"

namespace quorvel {

// The stored assets on disk: one folder per application, each asset under a name that is unique
// and keeps its original file name, with a metadata file beside it:
//   <root>/<app folder>/<uuid>-<file name>             the bytes as received
//   <root>/<app folder>/<uuid>-<file name>.meta.json   what is known about them
//   <root>/<uuid>.part                                  an upload still coming in
// Both, and the folder entries naming them, are on the disk before an upload is answered.
// Names use only [A-Za-z0-9._~-], so they are safe both as path components and in URLs.
class AssetStore {
 public:
  static constexpr std::string_view kMetadataSuffix = ".meta.json";
  // Files on their way in; one still there at start was left by a crash.
  static constexpr std::string_view kTemporarySuffix = ".part";

  // An upload in progress: where it goes and the writer of its temporary file.
  struct Pending {
    std::string folder;
    std::string id;
    std::unique_ptr<AssetWriter> writer;
  };

  // A stored asset found by its folder and name.
  struct Asset {
    std::filesystem::path file;
    std::string mediaType;
    std::uint64_t size = 0;
  };

  explicit AssetStore(std::filesystem::path root);

  const std::filesystem::path& root() const { return root_; }

  // Bytes outside [A-Za-z0-9._-] become "~XX" (upper-case hex), and so do the dots of "." and
  // "..": distinct application IDs get distinct folders, and none leaves the root.
  static std::string escapeName(std::string_view text);
  // The folder of an application: its escaped ID, or for a long one, the start of that and a
  // digest of the whole ID, so that the name fits any file system.
  static std::string folderName(std::string_view appID);

  // Opens a temporary file in the root; the writer is missing when it cannot be made. The
  // application's folder is made only when an upload is stored in it.
  Pending begin(std::string_view appID, std::uint64_t maxBytes) const;

  // Moves the finished bytes into place (in the application's folder, made when missing) under a
  // name keeping originalName, then writes metadata (completed with the stored name, size and
  // digest) beside them. Returns the stored name, or nothing when the disk refused.
  std::optional<std::string> commit(Pending& pending, std::string_view originalName,
                                    nlohmann::json metadata) const;

  // Removes what a crash can leave: temporary files, and an asset or its metadata without the
  // other. Only for a store no upload is using. Returns how many files went.
  std::size_t removeLeftovers() const;

  // Flushes a file's bytes, or a folder's entries, to the disk; false when that failed.
  static bool sync(const std::filesystem::path& path);

  // The asset stored under folder/name, if both are names this store gives out.
  std::optional<Asset> find(std::string_view folder, std::string_view name) const;

 private:
  std::filesystem::path root_;
};

}  // namespace quorvel
