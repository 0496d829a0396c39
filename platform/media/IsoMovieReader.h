#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Export.h"

namespace quorvel {

// Reads the tracks of an ISO base media file (QuickTime .mov, MPEG-4 .mp4 / .m4a): what each holds
// and where its samples are, from the index alone, so that a movie's first picture or a
// recording's sound can be decoded without reading the rest.
class QUORVEL_EXPORT IsoMovieReader {
 public:
  struct Track {
    std::string handler;  // "vide", "soun" ...
    std::string codec;    // the sample entry's type: "avc1", "mp4a" ...
    std::uint32_t timescale = 0;
    int width = 0;
    int height = 0;
    int channels = 0;
    int sampleRate = 0;
    // The avcC record of H.264, the AudioSpecificConfig of AAC.
    std::vector<std::uint8_t> configuration;
    // Where the edit list starts playing, in the track's timescale (an encoder's priming), and
    // how much it plays (0: all that follows).
    std::uint64_t skipped = 0;
    std::uint64_t played = 0;
    // Clockwise quarter turns that make the picture upright, from the track's matrix.
    int quarterTurns = 0;
    std::vector<std::uint64_t> offsets;
    std::vector<std::uint32_t> sizes;
  };

  // Reads `size` bytes at `offset` into `into`; false past the end or on failure.
  using Source = std::function<bool(std::uint64_t offset, std::size_t size, std::uint8_t* into)>;

  struct Box {
    std::string type;
    std::uint64_t start = 0;   // of its header
    std::uint64_t size = 0;    // header included
    std::uint64_t header = 8;  // 16 with a 64-bit size
  };
  // The top-level boxes of `size` bytes, in order, up to the first malformed one; *whole tells
  // whether there was none.
  static std::vector<Box> topLevelBoxes(const Source& source, std::uint64_t size,
                                        bool* whole = nullptr);

  // Nothing, with error set, when the file is not a movie with an index.
  static std::optional<IsoMovieReader> open(const std::string& path, std::string& error);
  // The same over bytes in memory, which must outlive the reader.
  static std::optional<IsoMovieReader> open(const std::vector<std::uint8_t>& bytes,
                                            std::string& error);

  const std::vector<Track>& tracks() const { return tracks_; }
  // The first track of a handler type ("vide", "soun"), or null.
  const Track* first(const std::string& handler) const;
  // A sample's bytes; false when they cannot be read.
  bool read(const Track& track, std::size_t sample, std::vector<std::uint8_t>& bytes) const;

 private:
  static std::optional<IsoMovieReader> open(Source source, std::uint64_t size, std::string& error);

  Source source_;
  std::vector<Track> tracks_;
};

}  // namespace quorvel
