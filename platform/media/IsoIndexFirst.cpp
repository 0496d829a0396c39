#include "media/IsoIndexFirst.h"

#include <sys/types.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

#include "media/IsoMovieReader.h"

namespace quorvel {

namespace {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

struct Box {
  std::string type;
  std::uint64_t start = 0;   // of its header
  std::uint64_t size = 0;    // header included
  std::uint64_t placed = 0;  // its start in the copy
};

std::uint32_t be32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
         static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

std::uint64_t be64(const std::uint8_t* p) {
  return static_cast<std::uint64_t>(be32(p)) << 32 | be32(p + 4);
}

void put32(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (24 - 8 * i));
}

// Moves every chunk offset in the boxes of data[from, to) by where its box went; false when one
// points outside the samples or no longer fits in 32 bits.
bool moveChunkOffsets(std::vector<std::uint8_t>& data, std::size_t from, std::size_t to,
                      const std::vector<Box>& boxes) {
  auto moved = [&](std::uint64_t offset) -> std::optional<std::uint64_t> {
    for (const Box& box : boxes) {
      if (offset >= box.start && offset < box.start + box.size) {
        return box.placed + (offset - box.start);
      }
    }
    return std::nullopt;
  };
  for (std::size_t at = from; at + 8 <= to;) {
    std::uint64_t size = be32(&data[at]);
    const std::string type(reinterpret_cast<const char*>(&data[at + 4]), 4);
    if (size < 8 || size > to - at) return false;
    if (type == "moov" || type == "trak" || type == "mdia" || type == "minf" || type == "stbl") {
      if (!moveChunkOffsets(data, at + 8, at + size, boxes)) return false;
    } else if ((type == "stco" || type == "co64") && size >= 16) {
      const bool wide = type == "co64";
      const std::uint64_t count = be32(&data[at + 12]);
      if (16 + count * (wide ? 8 : 4) > size) return false;
      for (std::uint64_t i = 0; i < count; ++i) {
        std::uint8_t* entry = &data[at + 16 + i * (wide ? 8 : 4)];
        const auto offset = moved(wide ? be64(entry) : be32(entry));
        if (!offset) return false;
        if (wide) {
          put32(entry, static_cast<std::uint32_t>(*offset >> 32));
          put32(entry + 4, static_cast<std::uint32_t>(*offset));
        } else if (*offset > std::numeric_limits<std::uint32_t>::max()) {
          return false;
        } else {
          put32(entry, static_cast<std::uint32_t>(*offset));
        }
      }
    }
    at += size;
  }
  return true;
}

std::string systemError() { return std::strerror(errno); }

}  // namespace

std::optional<std::string> writeIndexFirst(const std::string& from, const std::string& to,
                                           IsoMovieFile::Brand brand) {
  File input(std::fopen(from.c_str(), "rb"));
  if (!input) return "cannot read " + from + ": " + systemError();
  std::error_code failure;
  const std::uint64_t fileSize = std::filesystem::file_size(from, failure);
  if (failure) return "cannot read " + from + ": " + failure.message();
  const auto read = [file = input.get()](std::uint64_t offset, std::size_t n, std::uint8_t* into) {
    return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0 &&
           std::fread(into, 1, n, file) == n;
  };
  bool whole = false;
  std::vector<Box> boxes;
  for (const auto& box : IsoMovieReader::topLevelBoxes(read, fileSize, &whole)) {
    boxes.push_back({box.type, box.start, box.size, 0});
  }
  if (!whole) return from + " is not a movie (not a QuickTime or MPEG-4 file)";

  // The copy: the brand's file type, the index, then every other box but padding, in order.
  const std::vector<std::uint8_t> fileType = IsoMovieFile::fileType(brand);
  const Box* index = nullptr;
  std::vector<Box> kept;
  for (const Box& box : boxes) {
    if (box.type == "moov") {
      if (index != nullptr) return from + " has two indexes";
      index = &box;
    } else if (box.type != "ftyp" && box.type != "free" && box.type != "skip" &&
               box.type != "wide") {
      kept.push_back(box);
    }
  }
  if (index == nullptr) return from + " is not a movie (it has no index: it was not finished)";
  if (index->size > std::uint64_t{1} << 30) return from + ": its index is too large";
  std::vector<std::uint8_t> moov(index->size);
  if (fseeko(input.get(), static_cast<off_t>(index->start), SEEK_SET) != 0 ||
      std::fread(moov.data(), 1, moov.size(), input.get()) != moov.size()) {
    return "cannot read " + from + ": " + systemError();
  }
  if (be32(moov.data()) != moov.size()) return from + ": its index is too large";
  std::uint64_t placed = fileType.size() + moov.size();
  for (Box& box : kept) {
    box.placed = placed;
    placed += box.size;
  }
  if (!moveChunkOffsets(moov, 0, moov.size(), kept)) {
    return from + ": its sample offsets do not fit the copy";
  }

  const std::string partial = to + ".part";
  File output(std::fopen(partial.c_str(), "wb"));
  if (!output) return "cannot write " + to + ": " + systemError();
  bool written =
      std::fwrite(fileType.data(), 1, fileType.size(), output.get()) == fileType.size() &&
      std::fwrite(moov.data(), 1, moov.size(), output.get()) == moov.size();
  std::vector<char> buffer(1 << 20);
  for (const Box& box : kept) {
    if (!written || fseeko(input.get(), static_cast<off_t>(box.start), SEEK_SET) != 0) break;
    for (std::uint64_t left = box.size; left > 0 && written;) {
      const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
      written = std::fread(buffer.data(), 1, n, input.get()) == n &&
                std::fwrite(buffer.data(), 1, n, output.get()) == n;
      left -= n;
    }
  }
  const std::string why = systemError();
  if (std::fclose(output.release()) != 0) written = false;
  if (!written) {
    std::filesystem::remove(partial, failure);
    return "cannot write " + to + ": " + why;
  }
  std::filesystem::rename(partial, to, failure);
  if (failure) {
    const std::string message = failure.message();
    std::filesystem::remove(partial, failure);
    return "cannot write " + to + ": " + message;
  }
  return std::nullopt;
}

}  // namespace quorvel
