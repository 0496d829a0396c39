#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::testing {

// What libavformat reads in a movie file, for checking what the media adapters wrote.
struct ProbedStream {
  std::string codec;   // "h264", "aac" ...
  double seconds = 0;  // the stream's duration
  int width = 0;
  int height = 0;
  int sampleRate = 0;
  std::vector<double> packetTimes;  // presentation moments, in file order
};

struct ProbedMovie {
  std::string brand;  // major_brand: "qt  " for QuickTime, "isom" for MPEG-4
  std::vector<ProbedStream> streams;
  const ProbedStream* first(const std::string& codec) const;
};

std::optional<ProbedMovie> probeMovie(const std::string& path);

// The first video frame as RGB24 rows, with its size.
struct RgbPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgb;
  // The colour at (x, y) as 0xRRGGBB.
  std::uint32_t at(int x, int y) const;
};
std::optional<RgbPicture> firstPicture(const std::string& path);
// A PNG's (or any still image's) pixels.
std::optional<RgbPicture> decodeStill(const std::vector<std::uint8_t>& bytes);
// Whether two 0xRRGGBB colours differ by at most tolerance in every channel (video coding shifts
// colours a little).
bool similarColour(std::uint32_t a, std::uint32_t b, int tolerance = 48);

// Root-mean-square level (0...1) of 16-bit samples from..to seconds at rate.
double loudness(const std::vector<std::int16_t>& samples, int rate, double from, double to);

// Runs a shell command; true when it exits with 0.
bool shell(const std::string& command);

// An H.264 movie of ffmpeg's test pattern (320 x 240, 15 frames/s), with a 440 Hz tone in AAC
// when withSound, made by the ffmpeg program with extra output arguments; false if it failed.
bool makeMovie(const std::string& path, double seconds, bool withSound,
               const std::string& arguments = "");

}  // namespace quorvel::testing
