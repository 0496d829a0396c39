#include "support/SoundDecoder.h"

#include <neaacdec.h>

#include <algorithm>
#include <memory>

#include "media/IsoMovieReader.h"
#include "media/WaveDecoder.h"

namespace quorvel {

namespace {

// The AAC decoder holds back the first frame of every stream: its output starts this late.
constexpr std::uint64_t kFaadHeldBack = 1024;

// The first AAC track of a QuickTime or MPEG-4 file, mixed down.
std::optional<std::vector<std::int16_t>> decodeAac(const IsoMovieReader& movie, int sampleRate) {
  const IsoMovieReader::Track* sound = movie.first("soun");
  if (sound == nullptr || sound->codec != "mp4a" || sound->configuration.empty()) {
    return std::nullopt;
  }
  const std::unique_ptr<void, decltype(&NeAACDecClose)> owner(NeAACDecOpen(), &NeAACDecClose);
  NeAACDecHandle decoder = owner.get();
  if (decoder == nullptr) return std::nullopt;
  NeAACDecConfigurationPtr configuration = NeAACDecGetCurrentConfiguration(decoder);
  configuration->outputFormat = FAAD_FMT_16BIT;
  configuration->downMatrix = 1;
  configuration->dontUpSampleImplicitSBR = 1;  // stay at the track's own rate
  NeAACDecSetConfiguration(decoder, configuration);
  std::vector<std::uint8_t> config = sound->configuration;
  unsigned long rate = 0;
  unsigned char channels = 0;
  if (NeAACDecInit2(decoder, config.data(), static_cast<unsigned long>(config.size()), &rate,
                    &channels) < 0 ||
      rate == 0 || channels == 0) {
    return std::nullopt;
  }
  std::vector<std::int16_t> mono;
  std::vector<std::uint8_t> sample;
  // The rate the frames come out at (FAAD2's first guess at low rates is twice the real one).
  unsigned long outRate = 0;
  for (std::size_t i = 0; i < sound->sizes.size(); ++i) {
    if (!movie.read(*sound, i, sample)) return std::nullopt;
    NeAACDecFrameInfo information{};
    auto* pcm = static_cast<const std::int16_t*>(NeAACDecDecode(
        decoder, &information, sample.data(), static_cast<unsigned long>(sample.size())));
    if (information.error != 0) continue;  // a damaged frame is a gap, not the end
    if (outRate == 0) outRate = information.samplerate;
    const int outChannels = std::max<int>(1, information.channels);
    for (unsigned long f = 0; pcm != nullptr && f + outChannels <= information.samples;
         f += static_cast<unsigned long>(outChannels)) {
      int sum = 0;
      for (int c = 0; c < outChannels; ++c) sum += pcm[f + static_cast<unsigned long>(c)];
      mono.push_back(static_cast<std::int16_t>(sum / outChannels));
    }
  }
  if (outRate == 0) return std::nullopt;
  // What the edit list plays: its start, less what the decoder held back already, and its
  // length; both count in the track's timescale.
  const auto atOutRate = [&](std::uint64_t t) {
    return sound->timescale == 0 ? t : t * outRate / sound->timescale;
  };
  const std::uint64_t skipped = atOutRate(sound->skipped);
  const std::uint64_t skip =
      std::min<std::uint64_t>(skipped > kFaadHeldBack ? skipped - kFaadHeldBack : 0, mono.size());
  mono.erase(mono.begin(), mono.begin() + static_cast<std::ptrdiff_t>(skip));
  if (sound->played > 0 && atOutRate(sound->played) < mono.size()) {
    mono.resize(static_cast<std::size_t>(atOutRate(sound->played)));
  }
  return WaveDecoder::resampled(mono, static_cast<int>(outRate), sampleRate);
}

}  // namespace

std::optional<std::vector<std::int16_t>> SoundDecoder::decode(
    const std::vector<std::uint8_t>& bytes, int sampleRate) {
  if (sampleRate <= 0) return std::nullopt;
  if (auto wave = WaveDecoder::decode(bytes, sampleRate)) return wave;
  std::string error;
  auto movie = IsoMovieReader::open(bytes, error);
  return movie ? decodeAac(*movie, sampleRate) : std::nullopt;
}

std::optional<std::vector<std::int16_t>> SoundDecoder::decodeFile(const std::string& path,
                                                                  int sampleRate) {
  if (sampleRate <= 0) return std::nullopt;
  // A WAVE file is read whole; a movie only through its index and sound samples.
  if (auto wave = WaveDecoder::decodeFile(path, sampleRate)) return wave;
  std::string error;
  auto movie = IsoMovieReader::open(path, error);
  return movie ? decodeAac(*movie, sampleRate) : std::nullopt;
}

}  // namespace quorvel
