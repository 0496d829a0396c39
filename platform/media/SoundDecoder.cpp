#include "media/SoundDecoder.h"

#include <neaacdec.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "media/IsoMovieReader.h"
#include "media/SoundResampler.h"

namespace quorvel {

namespace {

// The AAC decoder holds back the first frame of every stream: its output starts this late.
constexpr std::uint64_t kFaadHeldBack = 1024;

std::uint32_t little(const std::uint8_t* p, int bytes) {
  std::uint32_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | p[i];
  return value;
}

std::int16_t clampSample(double value) {
  return static_cast<std::int16_t>(std::clamp(value, -32768.0, 32767.0));
}

std::vector<std::int16_t> atRate(const std::vector<std::int16_t>& mono, int from, int to) {
  SoundResampler resampler(from, to, 1);
  std::vector<std::int16_t> out;
  resampler.push(mono.data(), mono.size(), out);
  resampler.finish(out);
  return out;
}

// A RIFF WAVE file's samples, mixed down; nothing when it is not one this reads.
std::optional<std::vector<std::int16_t>> decodeWave(const std::vector<std::uint8_t>& bytes,
                                                    int sampleRate) {
  if (bytes.size() < 12 || std::memcmp(bytes.data(), "RIFF", 4) != 0 ||
      std::memcmp(bytes.data() + 8, "WAVE", 4) != 0) {
    return std::nullopt;
  }
  int format = 0, channels = 0, rate = 0, bits = 0;
  const std::uint8_t* data = nullptr;
  std::size_t dataSize = 0;
  for (std::size_t at = 12; at + 8 <= bytes.size();) {
    const std::uint32_t size = little(&bytes[at + 4], 4);
    const std::size_t body = at + 8;
    const std::size_t available = std::min<std::size_t>(size, bytes.size() - body);
    if (std::memcmp(&bytes[at], "fmt ", 4) == 0 && available >= 16) {
      format = static_cast<int>(little(&bytes[body], 2));
      channels = static_cast<int>(little(&bytes[body + 2], 2));
      rate = static_cast<int>(little(&bytes[body + 4], 4));
      bits = static_cast<int>(little(&bytes[body + 14], 2));
      if (format == 0xFFFE && available >= 26)
        format = static_cast<int>(little(&bytes[body + 24], 2));
    } else if (std::memcmp(&bytes[at], "data", 4) == 0) {
      data = &bytes[body];
      dataSize = available;  // a stream's header may promise more than came
    }
    at = body + size + (size & 1);
  }
  const bool integer = format == 1 && (bits == 8 || bits == 16 || bits == 24 || bits == 32);
  const bool floating = format == 3 && bits == 32;
  if (data == nullptr || channels <= 0 || rate <= 0 || !(integer || floating)) return std::nullopt;
  const std::size_t width = static_cast<std::size_t>(bits / 8);
  const std::size_t frames = dataSize / (width * static_cast<std::size_t>(channels));
  std::vector<std::int16_t> mono(frames);
  for (std::size_t i = 0; i < frames; ++i) {
    double sum = 0;
    for (int c = 0; c < channels; ++c) {
      const std::uint8_t* p = data + (i * static_cast<std::size_t>(channels) + c) * width;
      const std::uint32_t raw = little(p, static_cast<int>(width));
      double value = 0;
      if (floating) {
        float f;
        std::memcpy(&f, &raw, sizeof f);
        value = f * 32768.0;
      } else if (bits == 8) {
        value = (static_cast<int>(raw) - 128) * 256.0;
      } else {
        // Sign-extended from its width, scaled to 16 bits.
        const auto shifted = static_cast<std::int32_t>(raw << (32 - bits));
        value = shifted / 65536.0;
      }
      sum += value;
    }
    mono[i] = clampSample(sum / channels);
  }
  return atRate(mono, rate, sampleRate);
}

// The first AAC track of a QuickTime or MPEG-4 file, mixed down.
std::optional<std::vector<std::int16_t>> decodeAac(const IsoMovieReader& movie, int sampleRate) {
  const IsoMovieReader::Track* sound = movie.first("soun");
  if (sound == nullptr || sound->codec != "mp4a" || sound->configuration.empty()) {
    return std::nullopt;
  }
  NeAACDecHandle decoder = NeAACDecOpen();
  if (decoder == nullptr) return std::nullopt;
  struct Closer {
    NeAACDecHandle handle;
    ~Closer() { NeAACDecClose(handle); }
  } closer{decoder};
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
  return atRate(mono, static_cast<int>(outRate), sampleRate);
}

std::optional<std::vector<std::int16_t>> decodeAny(const std::vector<std::uint8_t>& bytes,
                                                   std::optional<IsoMovieReader> movie,
                                                   int sampleRate) {
  if (sampleRate <= 0) return std::nullopt;
  if (auto wave = decodeWave(bytes, sampleRate)) return wave;
  if (movie) return decodeAac(*movie, sampleRate);
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<std::int16_t>> SoundDecoder::decode(
    const std::vector<std::uint8_t>& bytes, int sampleRate) {
  std::string error;
  return decodeAny(bytes, IsoMovieReader::open(bytes, error), sampleRate);
}

std::optional<std::vector<std::int16_t>> SoundDecoder::decodeFile(const std::string& path,
                                                                  int sampleRate) {
  std::ifstream file(path, std::ios::binary);
  if (!file || sampleRate <= 0) return std::nullopt;
  // A WAVE file is read whole; a movie only through its index and sound samples.
  char head[12] = {};
  file.read(head, sizeof head);
  if (file.gcount() == 12 && std::memcmp(head, "RIFF", 4) == 0) {
    file.seekg(0);
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
    return decodeWave(bytes, sampleRate);
  }
  std::string error;
  auto movie = IsoMovieReader::open(path, error);
  if (!movie) return std::nullopt;
  return decodeAac(*movie, sampleRate);
}

}  // namespace quorvel
