#include "media/IsoMovieReader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace quorvel {

namespace {

// The largest index read: a long film's tables are a few megabytes.
constexpr std::uint64_t kLargestIndex = std::uint64_t{256} << 20;

// Big-endian reading within [at, end) of a buffer; reads past the end give 0 and mark it bad.
class Cursor {
 public:
  Cursor(const std::uint8_t* data, std::size_t size) : data_(data), end_(size) {}

  std::uint64_t take(int bytes) {
    if (at_ + static_cast<std::size_t>(bytes) > end_) {
      bad_ = true;
      at_ = end_;
      return 0;
    }
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) value = value << 8 | data_[at_++];
    return value;
  }
  std::uint32_t u8() { return static_cast<std::uint32_t>(take(1)); }
  std::uint32_t u16() { return static_cast<std::uint32_t>(take(2)); }
  std::uint32_t u32() { return static_cast<std::uint32_t>(take(4)); }
  std::uint64_t u64() { return take(8); }
  std::string type() {
    if (at_ + 4 > end_) {
      bad_ = true;
      return {};
    }
    std::string text(reinterpret_cast<const char*>(data_ + at_), 4);
    at_ += 4;
    return text;
  }
  void skip(std::size_t n) { at_ = std::min(end_, at_ + n); }
  std::vector<std::uint8_t> bytes(std::size_t n) {
    if (at_ + n > end_) {
      bad_ = true;
      n = end_ - at_;
    }
    std::vector<std::uint8_t> out(data_ + at_, data_ + at_ + n);
    at_ += n;
    return out;
  }
  // A child cursor over the next n bytes.
  Cursor part(std::size_t n) {
    n = std::min(n, end_ - at_);
    Cursor child(data_ + at_, n);
    at_ += n;
    return child;
  }
  std::size_t left() const { return end_ - at_; }
  bool bad() const { return bad_; }

 private:
  const std::uint8_t* data_;
  std::size_t at_ = 0;
  std::size_t end_;
  bool bad_ = false;
};

// Calls visit(type, body) for each box in the cursor; false on a malformed one.
template <typename Visit>
bool eachBox(Cursor& boxes, Visit visit) {
  while (boxes.left() >= 8) {
    std::uint64_t size = boxes.u32();
    const std::string type = boxes.type();
    std::size_t header = 8;
    if (size == 1) {
      size = boxes.u64();
      header = 16;
    } else if (size == 0) {
      size = boxes.left() + 8;
    }
    if (size < header || size - header > boxes.left()) return false;
    Cursor body = boxes.part(static_cast<std::size_t>(size - header));
    if (!visit(type, body)) return false;
  }
  return true;
}

// The MPEG-4 descriptors' length: up to four bytes of seven bits.
std::size_t descriptorLength(Cursor& c) {
  std::size_t length = 0;
  for (int i = 0; i < 4; ++i) {
    const std::uint32_t byte = c.u8();
    length = length << 7 | (byte & 0x7F);
    if ((byte & 0x80) == 0) break;
  }
  return length;
}

// The AudioSpecificConfig in an esds box's body.
std::vector<std::uint8_t> audioSpecificConfig(Cursor esds) {
  esds.skip(4);  // version, flags
  if (esds.u8() != 0x03) return {};
  Cursor stream = esds.part(descriptorLength(esds));
  stream.skip(2);
  const std::uint32_t flags = stream.u8();
  if (flags & 0x80) stream.skip(2);            // depends on another stream
  if (flags & 0x40) stream.skip(stream.u8());  // a URL
  if (flags & 0x20) stream.skip(2);            // OCR stream
  if (stream.u8() != 0x04) return {};
  Cursor decoder = stream.part(descriptorLength(stream));
  decoder.skip(13);
  if (decoder.u8() != 0x05) return {};
  return decoder.bytes(descriptorLength(decoder));
}

struct Tables {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> chunkRuns;  // first chunk, samples each
  std::vector<std::uint64_t> chunkOffsets;
};

bool readSampleEntry(Cursor entries, IsoMovieReader::Track& track) {
  entries.skip(4);  // version, flags
  if (entries.u32() == 0 || entries.left() < 16) return false;
  entries.u32();  // the first entry's size
  track.codec = entries.type();
  entries.skip(6 + 2);  // reserved, data reference
  if (track.handler == "vide") {
    entries.skip(16);
    track.width = static_cast<int>(entries.u16());
    track.height = static_cast<int>(entries.u16());
    entries.skip(50);
    return eachBox(entries, [&](const std::string& type, Cursor& body) {
      if (type == "avcC") track.configuration = body.bytes(body.left());
      return true;
    });
  }
  if (track.handler == "soun") {
    const std::uint32_t version = entries.u16();
    entries.skip(6);
    track.channels = static_cast<int>(entries.u16());
    entries.skip(6);
    track.sampleRate = static_cast<int>(entries.u32() >> 16);
    if (version == 1) entries.skip(16);
    if (version == 2) entries.skip(36);
    // esds stands in the entry, or (QuickTime) inside its wave box.
    std::function<bool(const std::string&, Cursor&)> find = [&](const std::string& type,
                                                                Cursor& body) {
      if (type == "esds") track.configuration = audioSpecificConfig(body);
      if (type == "wave") return eachBox(body, find);
      return true;
    };
    return eachBox(entries, find);
  }
  return true;
}

bool readTrack(Cursor trak, std::uint32_t movieTimescale, IsoMovieReader::Track& track) {
  Tables tables;
  std::uint64_t editDuration = 0;  // in the movie's timescale
  std::function<bool(const std::string&, Cursor&)> visit = [&](const std::string& type,
                                                               Cursor& body) -> bool {
    if (type == "mdia" || type == "minf" || type == "stbl" || type == "edts") {
      return eachBox(body, visit);
    }
    if (type == "tkhd") {
      const std::uint32_t version = body.u32() >> 24;
      body.skip(version == 1 ? 32 : 20);
      body.skip(16);
      const auto a = static_cast<std::int32_t>(body.u32());
      const auto b = static_cast<std::int32_t>(body.u32());
      // The picture turns by atan2(b, a); players undo it, clockwise.
      const double degrees = std::atan2(double(b), double(a)) * 180 / M_PI;
      track.quarterTurns = static_cast<int>(((std::lround(degrees / 90) % 4) + 4) % 4);
    } else if (type == "mdhd") {
      const std::uint32_t version = body.u32() >> 24;
      body.skip(version == 1 ? 16 : 8);
      track.timescale = body.u32();
    } else if (type == "hdlr" && track.handler.empty()) {
      // The media's handler; QuickTime's data handler in minf comes after it.
      body.skip(8);
      track.handler = body.type();
    } else if (type == "elst") {
      const std::uint32_t version = body.u32() >> 24;
      for (std::uint32_t n = body.u32(); n > 0 && !body.bad(); --n) {
        const std::uint64_t length = body.take(version == 1 ? 8 : 4);
        const std::int64_t mediaTime = version == 1 ? static_cast<std::int64_t>(body.u64())
                                                    : static_cast<std::int32_t>(body.u32());
        body.skip(4);
        if (mediaTime >= 0) {  // the first edit that plays something
          track.skipped = static_cast<std::uint64_t>(mediaTime);
          editDuration = length;
          break;
        }
      }
    } else if (type == "stsd") {
      return readSampleEntry(body, track);
    } else if (type == "stsz") {
      body.skip(4);
      const std::uint32_t size = body.u32();
      const std::uint32_t count = body.u32();
      if (size != 0) {
        track.sizes.assign(count, size);
      } else if (std::uint64_t{count} * 4 <= body.left()) {
        track.sizes.resize(count);
        for (auto& each : track.sizes) each = body.u32();
      }
    } else if (type == "stsc") {
      body.skip(4);
      for (std::uint32_t n = body.u32(); n > 0 && body.left() >= 12; --n) {
        const std::uint32_t first = body.u32();
        tables.chunkRuns.emplace_back(first, body.u32());
        body.u32();
      }
    } else if (type == "stco" || type == "co64") {
      body.skip(4);
      const std::uint32_t count = body.u32();
      const int width = type == "co64" ? 8 : 4;
      if (std::uint64_t{count} * width > body.left()) return false;
      tables.chunkOffsets.resize(count);
      for (auto& offset : tables.chunkOffsets) offset = body.take(width);
    }
    return !body.bad();
  };
  if (!eachBox(trak, visit)) return false;
  if (editDuration > 0 && movieTimescale > 0) {
    track.played = editDuration * track.timescale / movieTimescale;
  }

  // Each chunk's samples lie one after the other from its offset.
  std::size_t sample = 0;
  for (std::size_t run = 0; run < tables.chunkRuns.size(); ++run) {
    const std::size_t from = tables.chunkRuns[run].first;
    const std::size_t to = run + 1 < tables.chunkRuns.size() ? tables.chunkRuns[run + 1].first
                                                             : tables.chunkOffsets.size() + 1;
    if (from == 0 || to < from) return false;
    for (std::size_t chunk = from; chunk < to && chunk <= tables.chunkOffsets.size(); ++chunk) {
      std::uint64_t offset = tables.chunkOffsets[chunk - 1];
      for (std::uint32_t i = 0; i < tables.chunkRuns[run].second; ++i, ++sample) {
        if (sample >= track.sizes.size()) return false;
        track.offsets.push_back(offset);
        offset += track.sizes[sample];
      }
    }
  }
  return track.offsets.size() == track.sizes.size();
}

}  // namespace

std::optional<IsoMovieReader> IsoMovieReader::open(const std::string& path, std::string& error) {
  std::shared_ptr<std::FILE> file(std::fopen(path.c_str(), "rb"), [](std::FILE* f) {
    if (f != nullptr) std::fclose(f);
  });
  if (!file) {
    error = "cannot read " + path + ": " + std::strerror(errno);
    return std::nullopt;
  }
  std::error_code failure;
  const std::uint64_t size = std::filesystem::file_size(path, failure);
  if (failure) {
    error = "cannot read " + path + ": " + failure.message();
    return std::nullopt;
  }
  auto source = [file](std::uint64_t offset, std::size_t n, std::uint8_t* into) {
    return fseeko(file.get(), static_cast<off_t>(offset), SEEK_SET) == 0 &&
           std::fread(into, 1, n, file.get()) == n;
  };
  return open(source, size, error);
}

std::optional<IsoMovieReader> IsoMovieReader::open(const std::vector<std::uint8_t>& bytes,
                                                   std::string& error) {
  auto source = [&bytes](std::uint64_t offset, std::size_t n, std::uint8_t* into) {
    if (offset > bytes.size() || n > bytes.size() - offset) return false;
    std::memcpy(into, bytes.data() + offset, n);
    return true;
  };
  return open(source, bytes.size(), error);
}

std::vector<IsoMovieReader::Box> IsoMovieReader::topLevelBoxes(const Source& source,
                                                               std::uint64_t size, bool* whole) {
  std::vector<Box> boxes;
  if (whole) *whole = false;
  std::uint64_t at = 0;
  for (; at + 8 <= size; at += boxes.back().size) {
    std::uint8_t header[16];
    if (!source(at, 8, header)) return boxes;
    Box box{std::string(reinterpret_cast<char*>(header + 4), 4), at, 0, 8};
    Cursor fields(header, 4);
    box.size = fields.u32();
    if (box.size == 1) {
      if (!source(at + 8, 8, header + 8)) return boxes;
      Cursor wide(header + 8, 8);
      box.size = wide.u64();
      box.header = 16;
    } else if (box.size == 0) {
      box.size = size - at;  // to the end of the file
    }
    if (box.size < box.header || box.size > size - at) return boxes;
    boxes.push_back(box);
  }
  if (whole) *whole = at == size;
  return boxes;
}

std::optional<IsoMovieReader> IsoMovieReader::open(Source source, std::uint64_t size,
                                                   std::string& error) {
  // The top-level boxes, to the index.
  std::vector<std::uint8_t> index;
  for (const Box& box : topLevelBoxes(source, size)) {
    if (box.type != "moov") continue;
    if (box.size - box.header > kLargestIndex) break;
    index.resize(static_cast<std::size_t>(box.size - box.header));
    if (!source(box.start + box.header, index.size(), index.data())) index.clear();
    break;
  }
  if (index.empty()) {
    error = "not a movie: no QuickTime or MPEG-4 index";
    return std::nullopt;
  }
  IsoMovieReader reader;
  reader.source_ = std::move(source);
  Cursor moov(index.data(), index.size());
  std::uint32_t movieTimescale = 0;
  const bool read = eachBox(moov, [&](const std::string& type, Cursor& body) {
    if (type == "mvhd") {
      const std::uint32_t version = body.u32() >> 24;
      body.skip(version == 1 ? 16 : 8);
      movieTimescale = body.u32();
    }
    if (type != "trak") return true;
    Track track;
    if (!readTrack(body, movieTimescale, track)) return false;
    reader.tracks_.push_back(std::move(track));
    return true;
  });
  if (!read) {
    error = "not a movie: its index is damaged";
    return std::nullopt;
  }
  return reader;
}

const IsoMovieReader::Track* IsoMovieReader::first(const std::string& handler) const {
  for (const Track& track : tracks_) {
    if (track.handler == handler && !track.sizes.empty()) return &track;
  }
  return nullptr;
}

bool IsoMovieReader::read(const Track& track, std::size_t sample,
                          std::vector<std::uint8_t>& bytes) const {
  if (sample >= track.sizes.size()) return false;
  bytes.resize(track.sizes[sample]);
  return source_(track.offsets[sample], bytes.size(), bytes.data());
}

}  // namespace quorvel
