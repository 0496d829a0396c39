#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

// Writes an ISO base media file (QuickTime .mov or MPEG-4 .m4a) from coded samples: H.264 in
// length-prefixed NAL units and raw AAC frames. Samples go to the file as they come, in chunks of
// consecutive samples of one track; the index (moov) follows them when the file is finished, so
// memory holds only the sample tables. Not thread-safe: one writer thread owns it.
class IsoMovieFile {
 public:
  // "qt  ", "isom" (MPEG-4), "M4A " (MPEG-4 sound).
  enum class Brand { quickTime, mpeg4, mpeg4Audio };

  struct Video {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> avcConfiguration;  // the avcC record: profile, SPS, PPS
    std::uint32_t timescale = 90000;
  };
  struct Audio {
    int sampleRate = 0;
    int channels = 1;
    std::vector<std::uint8_t> audioSpecificConfig;
    std::uint32_t averageBitRate = 0;
    // Samples the encoder put before the first one given (its priming), skipped by the edit list.
    std::uint32_t priming = 0;
  };

  ~IsoMovieFile();
  IsoMovieFile(const IsoMovieFile&) = delete;
  IsoMovieFile& operator=(const IsoMovieFile&) = delete;

  // A file at path (replaced); nothing with error set when it cannot be written.
  static std::unique_ptr<IsoMovieFile> create(const std::string& path, Brand brand,
                                              std::string& error);

  // The file-type box that opens a file of this brand.
  static std::vector<std::uint8_t> fileType(Brand brand);

  // Tracks are added before the first sample; they answer their number.
  int addVideo(const Video& video);
  int addAudio(const Audio& audio);

  // A video sample shown at `time` (the track's timescale) until the next one; the last one lasts
  // lastDuration. Samples come in presentation order.
  void writeVideo(int track, const std::uint8_t* data, std::size_t size, std::int64_t time,
                  bool sync);
  // An audio sample of `duration` samples, following the ones before.
  void writeAudio(int track, const std::uint8_t* data, std::size_t size, std::uint32_t duration);
  // How many samples of the audio track are heard (the priming and the last frame's padding
  // are not): the edit list plays exactly these.
  void setHeardSamples(int track, std::uint64_t samples);

  // Writes the index and closes the file: nothing, or the error that spoiled it (the first one;
  // writes after an error do nothing).
  std::optional<std::string> finish(std::uint32_t lastVideoDuration);

 private:
  struct Track;
  IsoMovieFile(std::FILE* file, std::string path, Brand brand);
  void write(Track& track, const std::uint8_t* data, std::size_t size);
  void fail(const std::string& what);

  std::FILE* file_;
  const std::string path_;
  const Brand brand_;
  std::vector<std::unique_ptr<Track>> tracks_;
  int lastTrack_ = -1;
  std::uint64_t offset_ = 0;
  std::optional<std::string> error_;
};

}  // namespace quorvel
