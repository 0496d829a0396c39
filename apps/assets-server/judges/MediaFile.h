#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// A stored film or recording read with FFmpeg, for the judges: whether it has a picture and a
// sound track, its pictures one by one with their moments (scaled down, grey or RGB), and its
// sound as mono samples at a chosen rate. Made for uploads nobody vouches for: only MPEG-4 and
// QuickTime files on disk are opened, pictures over kMaxPixels are refused before anything is
// allocated for them, and a damaged packet is skipped, not fatal. Decodes on the calling thread
// only (one film per judging thread); one object is used by one thread at a time.
class MediaFile {
 public:
  // Larger pictures than this (4096 x 4096) are not decoded.
  static constexpr std::int64_t kMaxPixels = 4096LL * 4096LL;

  // Pixels row after row, no padding: one byte a pixel for grey, three (R, G, B) for colour.
  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
  };

  // One decoded picture, valid during the call that hands it out. The scaled copies are made on
  // demand, so a caller pays only for what it looks at.
  class Frame {
   public:
    virtual ~Frame() = default;
    // Seconds since the film's start.
    virtual double seconds() const = 0;
    virtual int width() const = 0;
    virtual int height() const = 0;
    // The luminance, scaled down so that its longer side is at most maxSide (never enlarged).
    virtual const Picture& grey(int maxSide) = 0;
    // The colours at exactly width x height (averaged over the pixels each one covers).
    virtual const Picture& rgb(int width, int height) = 0;
    // The same picture, kept beyond the call (the decoded picture is shared, not copied).
    virtual std::unique_ptr<Frame> keep() const = 0;
  };

  ~MediaFile();
  MediaFile(const MediaFile&) = delete;
  MediaFile& operator=(const MediaFile&) = delete;

  // The file, or nothing with error set when it is no film or recording that can be played.
  static std::unique_ptr<MediaFile> open(const std::filesystem::path& path, std::string& error);

  bool hasPicture() const;
  // The picture's longer side by the file's header (0 without a picture).
  int longerSide() const;
  bool hasSound() const;
  // The container's length in seconds (0 when it does not say).
  double duration() const;
  // The picture track's length by the file's index (the container's when the track does not
  // say): pictures that stop well before it mean a file cut short.
  double pictureSeconds() const;

  // Decodes the pictures from the start, in display order, handing each to onFrame until it
  // answers false or the pictures end. The number of pictures handed out.
  int forEachPicture(const std::function<bool(Frame&)>& onFrame);
  // The whole sound track mixed down to mono at rate, in -1...1; nothing without a sound track
  // that decodes. At most maxSeconds are returned.
  std::optional<std::vector<float>> sound(int rate, double maxSeconds = 600);

 private:
  struct State;
  explicit MediaFile(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

}  // namespace quorvel
