#include "media/WaveDecoder.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "media/SoundResampler.h"

namespace quorvel {

namespace {

std::uint32_t little(const std::uint8_t* p, int bytes) {
  std::uint32_t value = 0;
  for (int i = bytes - 1; i >= 0; --i) value = value << 8 | p[i];
  return value;
}

std::int16_t clampSample(double value) {
  return static_cast<std::int16_t>(std::clamp(value, -32768.0, 32767.0));
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
  return WaveDecoder::resampled(mono, rate, sampleRate);
}

}  // namespace

std::vector<std::int16_t> WaveDecoder::resampled(const std::vector<std::int16_t>& mono, int from,
                                                 int to) {
  SoundResampler resampler(from, to, 1);
  std::vector<std::int16_t> out;
  resampler.push(mono.data(), mono.size(), out);
  resampler.finish(out);
  return out;
}

std::optional<std::vector<std::int16_t>> WaveDecoder::decode(const std::vector<std::uint8_t>& bytes,
                                                             int sampleRate) {
  if (sampleRate <= 0) return std::nullopt;
  return decodeWave(bytes, sampleRate);
}

std::optional<std::vector<std::int16_t>> WaveDecoder::decodeFile(const std::string& path,
                                                                 int sampleRate) {
  std::ifstream file(path, std::ios::binary);
  if (!file || sampleRate <= 0) return std::nullopt;
  // Read whole only when it is a WAVE file: callers try other readers on anything else.
  char head[12] = {};
  file.read(head, sizeof head);
  if (file.gcount() != 12 || std::memcmp(head, "RIFF", 4) != 0 ||
      std::memcmp(head + 8, "WAVE", 4) != 0) {
    return std::nullopt;
  }
  file.seekg(0);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
  return decodeWave(bytes, sampleRate);
}

}  // namespace quorvel
