#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include "media/MovieWriter.h"
#include "support/MovieProbe.h"
#include "support/SoundDecoder.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// Where the loudest sample is, in seconds.
double loudestAt(const std::vector<std::int16_t>& samples, int rate) {
  std::size_t loudest = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) > std::abs(samples[loudest])) loudest = i;
  }
  return static_cast<double>(loudest) / rate;
}

// What the ffmpeg program hears in a file, mono at rate.
std::vector<std::int16_t> ffmpegHears(const std::string& path, int rate) {
  const std::string raw = path + ".raw";
  EXPECT_TRUE(shell("ffmpeg -v error -i " + path + " -f s16le -ac 1 -ar " + std::to_string(rate) +
                    " -y " + raw));
  std::ifstream file(raw, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
  std::vector<std::int16_t> samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

// A click 0.5 s into a second of silence keeps its moment through each AAC encoder's priming
// (ours, 1600 samples; FFmpeg's, 1024), as this decoder and as ffmpeg hear it.
TEST(SoundDecoder, AacClicksKeepTheirMomentsWhoeverEncodedThem) {
  TemporaryTree tree("quorvel-sound");
  const std::string ours = (tree.path() / "recording.m4a").string();
  MovieWriter::Options options;
  options.audioSampleRate = 12000;
  options.audioInputRate = 48000;
  options.realTime = false;
  std::string error;
  auto writer = MovieWriter::open(ours, options, error);
  ASSERT_TRUE(writer) << error;
  std::vector<std::int16_t> click(48000, 0);
  for (int i = 0; i < 48; ++i) click[static_cast<std::size_t>(24000 + i)] = 20000;
  writer->addAudio(click.data(), click.size());
  ASSERT_EQ(writer->finish(), std::nullopt);

  const std::string theirs = (tree.path() / "theirs.m4a").string();
  const std::string wav = (tree.path() / "click.wav").string();
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i \"aevalsrc=if(between(t\\,0.5\\,0.501)\\,0.6\\,0)"
            ":s=48000:d=1\" -c:a pcm_s16le -y " +
            wav));
  ASSERT_TRUE(shell("ffmpeg -v error -i " + wav + " -c:a aac -ar 24000 -y " + theirs));
  for (const std::string& path : {ours, theirs}) {
    SCOPED_TRACE(path);
    auto heard = SoundDecoder::decodeFile(path, 12000);
    ASSERT_TRUE(heard);
    EXPECT_NEAR(static_cast<double>(heard->size()), 12000, 120) << "a second long";
    EXPECT_NEAR(loudestAt(*heard, 12000), 0.5, 0.003);
    EXPECT_NEAR(loudestAt(ffmpegHears(path, 12000), 12000), 0.5, 0.003);
  }
  // The bytes of a recording decode as its file does.
  std::ifstream file(ours, std::ios::binary);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
  EXPECT_EQ(SoundDecoder::decode(bytes, 12000), SoundDecoder::decodeFile(ours, 12000));
}

TEST(SoundDecoder, ResamplesAndMixesDownToMonoAtTheAskedRateOrGivesNothing) {
  TemporaryTree tree("quorvel-sound");
  const std::string wav = (tree.path() / "tone.wav").string();
  // Half a second at 22,050 Hz in stereo: a tone on the left, silence on the right.
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i sine=frequency=1000:sample_rate=22050:duration=0.5"
            " -af 'pan=stereo|c0=c0|c1=0*c0' -c:a pcm_s16le -y " +
            wav));
  auto samples = SoundDecoder::decodeFile(wav, 48000);
  ASSERT_TRUE(samples);
  EXPECT_NEAR(static_cast<double>(samples->size()), 24000, 48);
  // sine's level is 1/8 of full scale; one channel of two, mixed down.
  const double level = loudness(*samples, 48000, 0.05, 0.45);
  EXPECT_GT(level, 0.02);
  EXPECT_LT(level, 0.09);

  std::ifstream file(wav, std::ios::binary);
  std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(file)), {});
  auto fromBytes = SoundDecoder::decode(bytes, 48000);
  EXPECT_EQ(fromBytes, samples);
  // 32-bit float and 8-bit samples read as the same sound.
  for (const char* codec : {"pcm_f32le", "pcm_u8"}) {
    const std::string other = (tree.path() / (std::string(codec) + ".wav")).string();
    ASSERT_TRUE(shell("ffmpeg -v error -i " + wav + " -c:a " + codec + " -y " + other));
    auto same = SoundDecoder::decodeFile(other, 48000);
    ASSERT_TRUE(same) << codec;
    EXPECT_NEAR(loudness(*same, 48000, 0.05, 0.45), level, 0.005) << codec;
  }
  // What holds no sound gives nothing.
  EXPECT_FALSE(SoundDecoder::decode({}, 48000));
  EXPECT_FALSE(SoundDecoder::decode(std::vector<std::uint8_t>(1000, 7), 48000));
  EXPECT_FALSE(SoundDecoder::decodeFile("/nonexistent/beep.wav", 48000));
}

}  // namespace
}  // namespace quorvel::testing
