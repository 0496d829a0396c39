#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "support/MovieProbe.h"
#include "support/SoundDecoder.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// The tests' decoder (its AAC side is checked against ffmpeg in MovieWriterTest).
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
