#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// Writes a QuickTime movie (.mov) with an H.264 picture and, when asked, an AAC sound track, as a
// camera records one; or, for a path ending in ".m4a", an MPEG-4 sound recording (AAC only, its
// index first so that it plays while it downloads). Frames and sound are handed over with their
// moments; the encoding runs on the writer's own thread behind a short queue, so whoever films or
// records (the GUI thread) never waits for the encoder and memory stays bounded.
class QUORVEL_EXPORT MovieWriter {
 public:
  struct Options {
    // The movie's picture size; frames of another size are scaled to it. 0 x 0 for a sound
    // recording.
    int width = 0;
    int height = 0;
    double framesPerSecond = 15;
    // The sound track's rate; 0: no sound track.
    int audioSampleRate = 0;
    int audioChannels = 1;
    // When the encoder falls behind: true drops frames (and turns sound into silence of the same
    // length) so that the caller never waits, as a camera needs; false makes the caller wait.
    bool realTime = true;
    // The rate of the samples handed over, when it is not the track's: they are resampled.
    int audioInputRate = 0;
  };

  virtual ~MovieWriter() = default;

  // A writer for path (replaced), or nothing with error set when the file or the encoders cannot
  // be opened.
  static std::unique_ptr<MovieWriter> open(const std::string& path, const Options& options,
                                           std::string& error);

  // A frame of 32-bit pixels in memory order B, G, R, A (Qt's RGB32 / ARGB32 on this machine)
  // shown from `seconds` after the start of the movie, until the next frame's moment (the last
  // one for a frame at the nominal rate). Frames that arrive out of order are dropped.
  virtual void addVideoFrame(const std::uint8_t* pixels, int width, int height, int rowStride,
                             double seconds) = 0;
  // Interleaved 16-bit samples at the input rate and the movie's channels, following the ones
  // before.
  virtual void addAudio(const std::int16_t* samples, std::size_t frameCount) = 0;
  // Encodes what is left and closes the file: nothing, or the error that spoiled it. Blocks until
  // done; later calls answer the same.
  virtual std::optional<std::string> finish() = 0;
};

}  // namespace quorvel
