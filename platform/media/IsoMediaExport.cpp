#include "media/IsoMediaExport.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <thread>

#include "media/AreaScale.h"
#include "media/H264Decoder.h"
#include "media/IsoIndexFirst.h"
#include "media/IsoMovieReader.h"
#include "media/PngWriter.h"

namespace quorvel {

namespace {

namespace fs = std::filesystem;

// Samples tried for a first picture: a stream that starts without a key frame may need a few.
constexpr std::size_t kSamplesTried = 60;
constexpr int kLongSide = 640;

std::optional<std::string> remux(const std::string& moviePath, const std::string& mp4Path) {
  std::error_code failure;
  if (!fs::is_regular_file(moviePath, failure)) return "there is no movie at " + moviePath;
  return writeIndexFirst(moviePath, mp4Path, IsoMovieFile::Brand::mpeg4);
}

// R, G, B rows turned clockwise by quarter turns.
std::vector<std::uint8_t> turned(const std::vector<std::uint8_t>& rgb, int& width, int& height,
                                 int quarterTurns) {
  if (quarterTurns == 0) return rgb;
  const int w = width;
  const int h = height;
  const bool sideways = quarterTurns % 2 == 1;
  const int outWidth = sideways ? h : w;
  std::vector<std::uint8_t> out(rgb.size());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      int tx = x, ty = y;
      if (quarterTurns == 1) {
        tx = h - 1 - y;
        ty = x;
      } else if (quarterTurns == 2) {
        tx = w - 1 - x;
        ty = h - 1 - y;
      } else if (quarterTurns == 3) {
        tx = y;
        ty = w - 1 - x;
      }
      const std::uint8_t* source = &rgb[static_cast<std::size_t>((y * w + x) * 3)];
      std::copy_n(source, 3, &out[static_cast<std::size_t>((ty * outWidth + tx) * 3)]);
    }
  }
  if (sideways) std::swap(width, height);
  return out;
}

}  // namespace

void IsoMediaExport::exportMP4(const std::string& moviePath, const std::string& mp4Path,
                               std::function<void(std::optional<std::string> error)> completion) {
  auto work = [moviePath, mp4Path, completion] { completion(remux(moviePath, mp4Path)); };
  try {
    // Detached: the thread owns all it uses and ends when the completion returns.
    std::thread(std::move(work)).detach();
  } catch (const std::system_error& error) {
    completion(std::string("cannot start the export: ") + error.what());
  }
}

std::optional<Image> IsoMediaExport::thumbnail(const std::string& moviePath) {
  std::string error;
  auto movie = IsoMovieReader::open(moviePath, error);
  if (!movie) return std::nullopt;
  const IsoMovieReader::Track* video = movie->first("vide");
  if (video == nullptr || video->codec.rfind("avc", 0) != 0) return std::nullopt;
  auto decoder = H264Decoder::open(video->configuration);
  if (!decoder) return std::nullopt;
  std::optional<H264Decoder::Picture> picture;
  std::vector<std::uint8_t> sample;
  for (std::size_t i = 0; i < std::min(kSamplesTried, video->sizes.size()) && !picture; ++i) {
    if (!movie->read(*video, i, sample)) return std::nullopt;
    picture = decoder->decode(sample);
  }
  if (!picture || picture->width <= 0 || picture->height <= 0) return std::nullopt;

  // Scaled before turning and encoding: a full-size PNG of a noisy frame takes long.
  const double scale = std::min(1.0, double(kLongSide) / std::max(picture->width, picture->height));
  int width = std::max(1, static_cast<int>(std::lround(picture->width * scale)));
  int height = std::max(1, static_cast<int>(std::lround(picture->height * scale)));
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width) * height * 3);
  scaleToRgb(picture->rgb.data(), picture->width, picture->height, picture->width * 3, 3, false,
             width, height, rgb.data());
  rgb = turned(rgb, width, height, video->quarterTurns);
  auto png = PngWriter::encode(rgb, width, height);
  if (!png) return std::nullopt;
  return Image::encoded(std::move(*png));
}

}  // namespace quorvel
