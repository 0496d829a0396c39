#include "media/IsoMovieFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <utility>

namespace quorvel {

namespace {

constexpr std::uint32_t kMovieTimescale = 1000;
constexpr std::uint32_t kMatrix[9] = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
// ftyp, then a free box that a 64-bit mdat header may take over, then mdat's own header.
constexpr std::uint64_t kMdatHeader = 16;

// Big-endian boxes built in memory; begin/end nest.
class Boxes {
 public:
  void u8(std::uint32_t v) { bytes_.push_back(static_cast<std::uint8_t>(v)); }
  void u16(std::uint32_t v) {
    u8(v >> 8);
    u8(v);
  }
  void u24(std::uint32_t v) {
    u8(v >> 16);
    u16(v & 0xFFFF);
  }
  void u32(std::uint32_t v) {
    u16(v >> 16);
    u16(v & 0xFFFF);
  }
  void u64(std::uint64_t v) {
    u32(static_cast<std::uint32_t>(v >> 32));
    u32(static_cast<std::uint32_t>(v));
  }
  void type(const char* fourcc) { bytes_.insert(bytes_.end(), fourcc, fourcc + 4); }
  void bytes(const std::vector<std::uint8_t>& data) {
    bytes_.insert(bytes_.end(), data.begin(), data.end());
  }
  void zeros(std::size_t n) { bytes_.insert(bytes_.end(), n, 0); }
  void begin(const char* fourcc) {
    open_.push_back(bytes_.size());
    u32(0);
    type(fourcc);
  }
  void begin(const char* fourcc, std::uint8_t version, std::uint32_t flags) {
    begin(fourcc);
    u32(static_cast<std::uint32_t>(version) << 24 | flags);
  }
  void end() {
    const std::size_t start = open_.back();
    open_.pop_back();
    const auto size = static_cast<std::uint32_t>(bytes_.size() - start);
    for (int i = 0; i < 4; ++i) bytes_[start + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
  }
  // An MPEG-4 descriptor: tag, its length in the four-byte form, then what follows until
  // endDescriptor.
  void beginDescriptor(std::uint8_t tag) {
    u8(tag);
    open_.push_back(bytes_.size());
    u32(0x80808000);
  }
  void endDescriptor() {
    const std::size_t start = open_.back();
    open_.pop_back();
    const auto length = static_cast<std::uint32_t>(bytes_.size() - start - 4);
    for (int i = 0; i < 4; ++i) {
      bytes_[start + i] =
          static_cast<std::uint8_t>(((length >> (21 - 7 * i)) & 0x7F) | (i < 3 ? 0x80 : 0));
    }
  }
  void matrix() {
    for (std::uint32_t v : kMatrix) u32(v);
  }
  const std::vector<std::uint8_t>& data() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::vector<std::size_t> open_;
};

std::uint32_t rescale(std::uint64_t value, std::uint32_t from, std::uint32_t to) {
  return static_cast<std::uint32_t>((value * to + from / 2) / from);
}

void writeFileType(Boxes& boxes, IsoMovieFile::Brand brand) {
  boxes.begin("ftyp");
  switch (brand) {
    case IsoMovieFile::Brand::quickTime:
      boxes.type("qt  ");
      boxes.u32(0x200);
      boxes.type("qt  ");
      break;
    case IsoMovieFile::Brand::mpeg4:
      boxes.type("isom");
      boxes.u32(0x200);
      for (const char* compatible : {"isom", "iso2", "avc1", "mp41"}) boxes.type(compatible);
      break;
    case IsoMovieFile::Brand::mpeg4Audio:
      boxes.type("M4A ");
      boxes.u32(0x200);
      for (const char* compatible : {"M4A ", "isom", "iso2"}) boxes.type(compatible);
      break;
  }
  boxes.end();
}

}  // namespace

struct IsoMovieFile::Track {
  int number = 0;
  bool video = false;
  Video picture;
  Audio sound;
  std::uint32_t timescale = 0;
  std::vector<std::uint32_t> sizes;
  std::vector<std::int64_t> times;       // a video sample's presentation moment
  std::vector<std::uint32_t> durations;  // an audio sample's length
  std::vector<std::uint32_t> syncSamples;
  struct Chunk {
    std::uint64_t offset;
    std::uint32_t samples;
  };
  std::vector<Chunk> chunks;
  std::optional<std::uint64_t> heard;

  // Sample durations in the track's timescale.
  std::vector<std::uint32_t> sampleDurations(std::uint32_t lastVideoDuration) const {
    if (!video) return durations;
    std::vector<std::uint32_t> result(times.size());
    for (std::size_t i = 0; i + 1 < times.size(); ++i) {
      result[i] = static_cast<std::uint32_t>(times[i + 1] - times[i]);
    }
    if (!result.empty()) result.back() = lastVideoDuration;
    return result;
  }
};

std::vector<std::uint8_t> IsoMovieFile::fileType(Brand brand) {
  Boxes boxes;
  writeFileType(boxes, brand);
  return boxes.data();
}

IsoMovieFile::IsoMovieFile(std::FILE* file, std::string path, Brand brand)
    : file_(file), path_(std::move(path)), brand_(brand) {}

IsoMovieFile::~IsoMovieFile() {
  if (file_ != nullptr) std::fclose(file_);
}

std::unique_ptr<IsoMovieFile> IsoMovieFile::create(const std::string& path, Brand brand,
                                                   std::string& error) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<IsoMovieFile> movie(new IsoMovieFile(file, path, brand));
  Boxes head;
  writeFileType(head, brand);
  head.u32(8);
  head.type("free");
  head.u32(8);
  head.type("mdat");
  if (std::fwrite(head.data().data(), 1, head.data().size(), file) != head.data().size()) {
    error = "cannot write " + path + ": " + std::strerror(errno);
    return nullptr;
  }
  movie->offset_ = head.data().size();
  return movie;
}

int IsoMovieFile::addVideo(const Video& video) {
  auto track = std::make_unique<Track>();
  track->video = true;
  track->picture = video;
  track->timescale = video.timescale;
  track->number = static_cast<int>(tracks_.size()) + 1;
  tracks_.push_back(std::move(track));
  return tracks_.back()->number;
}

int IsoMovieFile::addAudio(const Audio& audio) {
  auto track = std::make_unique<Track>();
  track->sound = audio;
  track->timescale = static_cast<std::uint32_t>(audio.sampleRate);
  track->number = static_cast<int>(tracks_.size()) + 1;
  tracks_.push_back(std::move(track));
  return tracks_.back()->number;
}

void IsoMovieFile::writeVideo(int track, const std::uint8_t* data, std::size_t size,
                              std::int64_t time, bool sync) {
  Track& video = *tracks_.at(static_cast<std::size_t>(track - 1));
  if (error_) return;
  video.times.push_back(time);
  if (sync) video.syncSamples.push_back(static_cast<std::uint32_t>(video.times.size()));
  write(video, data, size);
}

void IsoMovieFile::writeAudio(int track, const std::uint8_t* data, std::size_t size,
                              std::uint32_t duration) {
  Track& audio = *tracks_.at(static_cast<std::size_t>(track - 1));
  if (error_) return;
  audio.durations.push_back(duration);
  write(audio, data, size);
}

void IsoMovieFile::setHeardSamples(int track, std::uint64_t samples) {
  tracks_.at(static_cast<std::size_t>(track - 1))->heard = samples;
}

void IsoMovieFile::write(Track& track, const std::uint8_t* data, std::size_t size) {
  if (std::fwrite(data, 1, size, file_) != size) {
    return fail(std::string("cannot write the movie: ") + std::strerror(errno));
  }
  // Consecutive samples of one track share a chunk.
  if (lastTrack_ == track.number && !track.chunks.empty()) {
    ++track.chunks.back().samples;
  } else {
    track.chunks.push_back({offset_, 1});
  }
  lastTrack_ = track.number;
  track.sizes.push_back(static_cast<std::uint32_t>(size));
  offset_ += size;
}

void IsoMovieFile::fail(const std::string& what) {
  if (!error_) error_ = what + " (" + path_ + ")";
}

std::optional<std::string> IsoMovieFile::finish(std::uint32_t lastVideoDuration) {
  if (file_ == nullptr) return error_;
  Boxes moov;
  moov.begin("moov");
  std::uint32_t movieDuration = 0;
  Boxes tracks;
  for (const auto& owned : tracks_) {
    const Track& track = *owned;
    const std::vector<std::uint32_t> durations = track.sampleDurations(lastVideoDuration);
    std::uint64_t mediaDuration = 0;
    for (std::uint32_t d : durations) mediaDuration += d;
    // Where the track starts and how much of it plays, in the movie's timescale.
    const std::uint32_t emptyStart = track.video && !track.times.empty() && track.times.front() > 0
                                         ? rescale(static_cast<std::uint64_t>(track.times.front()),
                                                   track.timescale, kMovieTimescale)
                                         : 0;
    const std::uint64_t played =
        track.video ? mediaDuration : track.heard.value_or(mediaDuration - track.sound.priming);
    const std::uint32_t playedInMovie = rescale(played, track.timescale, kMovieTimescale);
    const std::uint32_t trackDuration = emptyStart + playedInMovie;
    movieDuration = std::max(movieDuration, trackDuration);

    tracks.begin("trak");
    tracks.begin("tkhd", 0, 3);  // enabled, in the movie
    tracks.u32(0);
    tracks.u32(0);
    tracks.u32(static_cast<std::uint32_t>(track.number));
    tracks.u32(0);
    tracks.u32(trackDuration);
    tracks.zeros(8);
    tracks.u16(0);                        // layer
    tracks.u16(track.video ? 0 : 1);      // alternate group
    tracks.u16(track.video ? 0 : 0x100);  // volume
    tracks.u16(0);
    tracks.matrix();
    tracks.u32(track.video ? static_cast<std::uint32_t>(track.picture.width) << 16 : 0);
    tracks.u32(track.video ? static_cast<std::uint32_t>(track.picture.height) << 16 : 0);
    tracks.end();

    if (emptyStart > 0 || (!track.video && track.sound.priming > 0) || track.heard) {
      tracks.begin("edts");
      tracks.begin("elst", 0, 0);
      tracks.u32(emptyStart > 0 ? 2 : 1);
      if (emptyStart > 0) {
        tracks.u32(emptyStart);
        tracks.u32(0xFFFFFFFF);  // nothing plays
        tracks.u32(0x10000);
      }
      tracks.u32(playedInMovie);
      tracks.u32(track.video ? 0 : track.sound.priming);
      tracks.u32(0x10000);
      tracks.end();
      tracks.end();
    }

    tracks.begin("mdia");
    tracks.begin("mdhd", 0, 0);
    tracks.u32(0);
    tracks.u32(0);
    tracks.u32(track.timescale);
    tracks.u32(static_cast<std::uint32_t>(mediaDuration));
    tracks.u16(0x55C4);  // "und"
    tracks.u16(0);
    tracks.end();
    tracks.begin("hdlr", 0, 0);
    tracks.u32(0);
    tracks.type(track.video ? "vide" : "soun");
    tracks.zeros(12);
    const std::string handler = track.video ? "VideoHandler" : "SoundHandler";
    tracks.bytes(std::vector<std::uint8_t>(handler.begin(), handler.end()));
    tracks.u8(0);
    tracks.end();

    tracks.begin("minf");
    if (track.video) {
      tracks.begin("vmhd", 0, 1);
      tracks.zeros(8);
    } else {
      tracks.begin("smhd", 0, 0);
      tracks.zeros(4);
    }
    tracks.end();
    tracks.begin("dinf");
    tracks.begin("dref", 0, 0);
    tracks.u32(1);
    tracks.begin("url ", 0, 1);  // the samples are in this file
    tracks.end();
    tracks.end();
    tracks.end();

    tracks.begin("stbl");
    tracks.begin("stsd", 0, 0);
    tracks.u32(1);
    std::uint32_t largest = 0;
    for (std::uint32_t size : track.sizes) largest = std::max(largest, size);
    if (track.video) {
      tracks.begin("avc1");
      tracks.zeros(6);
      tracks.u16(1);  // data reference
      tracks.zeros(16);
      tracks.u16(static_cast<std::uint32_t>(track.picture.width));
      tracks.u16(static_cast<std::uint32_t>(track.picture.height));
      tracks.u32(0x00480000);  // 72 dpi
      tracks.u32(0x00480000);
      tracks.u32(0);
      tracks.u16(1);  // frames per sample
      tracks.zeros(32);
      tracks.u16(0x18);
      tracks.u16(0xFFFF);
      tracks.begin("avcC");
      tracks.bytes(track.picture.avcConfiguration);
      tracks.end();
      tracks.end();
    } else {
      tracks.begin("mp4a");
      tracks.zeros(6);
      tracks.u16(1);
      tracks.zeros(8);
      tracks.u16(static_cast<std::uint32_t>(track.sound.channels));
      tracks.u16(16);
      tracks.u32(0);
      tracks.u32(static_cast<std::uint32_t>(track.sound.sampleRate) << 16);
      tracks.begin("esds", 0, 0);
      tracks.beginDescriptor(0x03);  // elementary stream
      tracks.u16(static_cast<std::uint32_t>(track.number));
      tracks.u8(0);
      tracks.beginDescriptor(0x04);  // decoder configuration
      tracks.u8(0x40);               // MPEG-4 audio
      tracks.u8(0x15);               // an audio stream
      tracks.u24(largest);
      const std::uint32_t peakRate = static_cast<std::uint32_t>(
          std::uint64_t{largest} * 8 * static_cast<std::uint64_t>(track.sound.sampleRate) / 1024);
      tracks.u32(std::max(peakRate, track.sound.averageBitRate));
      tracks.u32(track.sound.averageBitRate);
      tracks.beginDescriptor(0x05);
      tracks.bytes(track.sound.audioSpecificConfig);
      tracks.endDescriptor();
      tracks.endDescriptor();
      tracks.beginDescriptor(0x06);  // sync layer: MP4 files use the predefined one
      tracks.u8(0x02);
      tracks.endDescriptor();
      tracks.endDescriptor();
      tracks.end();
      tracks.end();
    }
    tracks.end();

    tracks.begin("stts", 0, 0);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> runs;
    for (std::uint32_t d : durations) {
      if (!runs.empty() && runs.back().second == d) {
        ++runs.back().first;
      } else {
        runs.emplace_back(1, d);
      }
    }
    tracks.u32(static_cast<std::uint32_t>(runs.size()));
    for (auto [count, delta] : runs) {
      tracks.u32(count);
      tracks.u32(delta);
    }
    tracks.end();
    if (track.video && track.syncSamples.size() != track.sizes.size()) {
      tracks.begin("stss", 0, 0);
      tracks.u32(static_cast<std::uint32_t>(track.syncSamples.size()));
      for (std::uint32_t sample : track.syncSamples) tracks.u32(sample);
      tracks.end();
    }
    tracks.begin("stsc", 0, 0);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> chunkRuns;  // first chunk, samples
    for (std::size_t i = 0; i < track.chunks.size(); ++i) {
      if (chunkRuns.empty() || chunkRuns.back().second != track.chunks[i].samples) {
        chunkRuns.emplace_back(static_cast<std::uint32_t>(i + 1), track.chunks[i].samples);
      }
    }
    tracks.u32(static_cast<std::uint32_t>(chunkRuns.size()));
    for (auto [first, samples] : chunkRuns) {
      tracks.u32(first);
      tracks.u32(samples);
      tracks.u32(1);
    }
    tracks.end();
    tracks.begin("stsz", 0, 0);
    tracks.u32(0);
    tracks.u32(static_cast<std::uint32_t>(track.sizes.size()));
    for (std::uint32_t size : track.sizes) tracks.u32(size);
    tracks.end();
    const bool wide = offset_ > std::numeric_limits<std::uint32_t>::max();
    tracks.begin(wide ? "co64" : "stco", 0, 0);
    tracks.u32(static_cast<std::uint32_t>(track.chunks.size()));
    for (const Track::Chunk& chunk : track.chunks) {
      if (wide) {
        tracks.u64(chunk.offset);
      } else {
        tracks.u32(static_cast<std::uint32_t>(chunk.offset));
      }
    }
    tracks.end();
    tracks.end();  // stbl
    tracks.end();  // minf
    tracks.end();  // mdia
    tracks.end();  // trak
  }
  moov.begin("mvhd", 0, 0);
  moov.u32(0);
  moov.u32(0);
  moov.u32(kMovieTimescale);
  moov.u32(movieDuration);
  moov.u32(0x10000);  // rate
  moov.u16(0x100);    // volume
  moov.zeros(10);
  moov.matrix();
  moov.zeros(24);
  moov.u32(static_cast<std::uint32_t>(tracks_.size()) + 1);
  moov.end();
  moov.bytes(tracks.data());
  moov.end();

  if (!error_ &&
      std::fwrite(moov.data().data(), 1, moov.data().size(), file_) != moov.data().size()) {
    fail(std::string("cannot write the movie: ") + std::strerror(errno));
  }
  // mdat's size, now that it is known: in its own header, or (past 4 GiB) in the 64-bit form
  // that takes the free box's place.
  const std::uint64_t start = fileType(brand_).size();
  const std::uint64_t payload = offset_ - start - kMdatHeader;
  Boxes header;
  if (payload + 8 <= std::numeric_limits<std::uint32_t>::max()) {
    header.u32(8);
    header.type("free");
    header.u32(static_cast<std::uint32_t>(payload + 8));
    header.type("mdat");
  } else {
    header.u32(1);
    header.type("mdat");
    header.u64(payload + kMdatHeader);
  }
  if (!error_ && (std::fseek(file_, static_cast<long>(start), SEEK_SET) != 0 ||
                  std::fwrite(header.data().data(), 1, kMdatHeader, file_) != kMdatHeader)) {
    fail(std::string("cannot write the movie: ") + std::strerror(errno));
  }
  if (std::fclose(std::exchange(file_, nullptr)) != 0) {
    fail(std::string("cannot write the movie: ") + std::strerror(errno));
  }
  return error_;
}

}  // namespace quorvel
