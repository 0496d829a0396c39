#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "media/MovieWriter.h"
#include "media/SoundResampler.h"
#include "support/MovieProbe.h"
#include "support/SoundDecoder.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

constexpr int kRate = 48000;

// B, G, R, A pixels: red on the left half, blue on the right, rows padded to stride.
std::vector<std::uint8_t> halves(int width, int height, int stride) {
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(stride * height), 0x55);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const std::uint8_t red[] = {0, 0, 255, 255}, blue[] = {255, 0, 0, 255};
      std::copy_n(x < width / 2 ? red : blue, 4,
                  &pixels[static_cast<std::size_t>(y * stride + x * 4)]);
    }
  }
  return pixels;
}

class MovieWriterTest : public ::testing::Test {
 protected:
  TemporaryTree tree{"quorvel-movie"};
  std::string path = (tree.path() / "output.mov").string();
};

TEST_F(MovieWriterTest, WritesAQuickTimeMovieOfH264AndAacAsLongAsWhatWasGiven) {
  std::string error;
  // Handed over faster than real time: the writer makes the caller wait instead of dropping.
  auto writer = MovieWriter::open(path, {160, 120, 15, kRate, 1, false}, error);
  ASSERT_TRUE(writer) << error;
  const auto pixels = halves(160, 120, 160 * 4 + 32);
  // Two seconds: one of silence, then one of a tone, handed over as a camera does, a frame's
  // worth of sound with each frame.
  std::vector<std::int16_t> sound(2 * kRate, 0);
  for (int i = kRate; i < 2 * kRate; ++i) {
    sound[static_cast<std::size_t>(i)] =
        static_cast<std::int16_t>(12000 * std::sin(2 * M_PI * 440.0 * i / kRate));
  }
  for (int i = 0; i < 30; ++i) {
    writer->addVideoFrame(pixels.data(), 160, 120, 160 * 4 + 32, i / 15.0);
    writer->addAudio(sound.data() + i * 3200, 3200);
  }
  EXPECT_EQ(writer->finish(), std::nullopt);
  EXPECT_EQ(writer->finish(), std::nullopt) << "a second finish answers the same";

  auto movie = probeMovie(path);
  ASSERT_TRUE(movie);
  EXPECT_EQ(movie->brand, "qt  ");
  const ProbedStream* video = movie->first("h264");
  const ProbedStream* audio = movie->first("aac");
  ASSERT_TRUE(video && audio);
  EXPECT_EQ(video->packetTimes.size(), 30u);
  EXPECT_NEAR(video->seconds, 2.0, 1 / 15.0);
  EXPECT_NEAR(audio->seconds, 2.0, 1 / 15.0);
  EXPECT_EQ(audio->sampleRate, kRate);

  // The sound keeps its moments: the encoder's priming is not heard as a delay.
  auto heard = SoundDecoder::decodeFile(path, kRate);
  ASSERT_TRUE(heard);
  EXPECT_LT(loudness(*heard, kRate, 0.05, 0.95), 0.01);
  EXPECT_GT(loudness(*heard, kRate, 1.05, 1.95), 0.15);
  // The pixels are read as B, G, R, A.
  auto picture = firstPicture(path);
  ASSERT_TRUE(picture);
  EXPECT_TRUE(similarColour(picture->at(20, 60), 0xFF0000)) << std::hex << picture->at(20, 60);
  EXPECT_TRUE(similarColour(picture->at(140, 60), 0x0000FF)) << std::hex << picture->at(140, 60);
}

TEST_F(MovieWriterTest, FramesKeepTheirMomentsAndOutOfOrderOnesAreDropped) {
  std::string error;
  // Odd sides become even; frames of another size are scaled to the movie's.
  auto writer = MovieWriter::open(path, {101, 77, 15, 0, 1, false}, error);
  ASSERT_TRUE(writer) << error;
  const auto big = halves(202, 154, 202 * 4);
  for (double at : {0.0, 0.1, 0.35, 0.2, 0.35, 0.5}) {
    writer->addVideoFrame(big.data(), 202, 154, 202 * 4, at);
  }
  ASSERT_EQ(writer->finish(), std::nullopt);
  auto movie = probeMovie(path);
  ASSERT_TRUE(movie);
  ASSERT_EQ(movie->streams.size(), 1u) << "no sound track when none is asked for";
  const ProbedStream& video = movie->streams[0];
  EXPECT_EQ(video.width, 100);
  EXPECT_EQ(video.height, 76);
  ASSERT_EQ(video.packetTimes.size(), 4u);
  const std::vector<double> expected = {0.0, 0.1, 0.35, 0.5};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(video.packetTimes[i], expected[i], 1e-4) << "frame " << i;
  }
  EXPECT_NEAR(video.seconds, 0.5 + 1 / 15.0, 1e-3) << "the last frame lasts one nominal frame";
}

// Where the loudest sample is, in seconds.
double loudestAt(const std::vector<std::int16_t>& samples, int rate) {
  auto loudest = std::max_element(samples.begin(), samples.end(),
                                  [](int a, int b) { return std::abs(a) < std::abs(b); });
  return static_cast<double>(loudest - samples.begin()) / rate;
}

// What the ffmpeg program hears in a file, mono at rate.
std::vector<std::int16_t> ffmpegHears(const std::string& path, int rate) {
  const std::string raw = path + ".raw";
  EXPECT_TRUE(shell("ffmpeg -v error -i " + path + " -f s16le -ac 1 -ar " + std::to_string(rate) +
                    " -y " + raw));
  const std::string bytes = fileContents(raw);
  std::vector<std::int16_t> samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

// A sound recording: AAC alone at its own rate, index first, exactly as long as what was given.
// A click 0.5 s into a second of silence keeps its moment through each AAC encoder's priming
// (ours, 1600 samples, cut by the file's edit list; FFmpeg's, 1024), as the tests' decoder and as
// ffmpeg hear it.
TEST_F(MovieWriterTest, WritesAnM4aWhoseClicksKeepTheirMomentsOrSaysAtOnceWhyItCannot) {
  const std::string ours = (tree.path() / "recording.m4a").string();
  MovieWriter::Options options;
  options.audioSampleRate = 12000;
  options.audioInputRate = kRate;
  options.realTime = false;
  std::string error;
  auto writer = MovieWriter::open(ours, options, error);
  ASSERT_TRUE(writer) << error;
  std::vector<std::int16_t> click(kRate, 0);
  std::fill_n(click.begin() + kRate / 2, 48, 20000);
  // Handed over in odd pieces, resampled to the track's rate.
  for (std::size_t at = 0; at < click.size(); at += 777) {
    writer->addAudio(click.data() + at, std::min<std::size_t>(777, click.size() - at));
  }
  ASSERT_EQ(writer->finish(), std::nullopt);
  auto movie = probeMovie(ours);
  ASSERT_TRUE(movie);
  EXPECT_EQ(movie->brand, "M4A ");
  ASSERT_EQ(movie->streams.size(), 1u);
  EXPECT_EQ(movie->streams[0].codec, "aac");
  EXPECT_EQ(movie->streams[0].sampleRate, 12000);
  EXPECT_NEAR(movie->streams[0].seconds, 1.0, 0.01);
  EXPECT_NE(fileContents(ours).substr(0, 40).find("moov"), std::string::npos) << "index not first";

  const std::string theirs = (tree.path() / "theirs.m4a").string();
  const std::string wav = (tree.path() / "click.wav").string();
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i \"aevalsrc=if(between(t\\,0.5\\,0.501)\\,0.6\\,0)"
            ":s=48000:d=1\" -c:a pcm_s16le -y " +
            wav));
  ASSERT_TRUE(shell("ffmpeg -v error -i " + wav + " -c:a aac -ar 24000 -y " + theirs));
  for (const std::string& file : {ours, theirs}) {
    SCOPED_TRACE(file);
    auto heard = SoundDecoder::decodeFile(file, 12000);
    ASSERT_TRUE(heard);
    EXPECT_NEAR(static_cast<double>(heard->size()), 12000, 120) << "a second long";
    EXPECT_NEAR(loudestAt(*heard, 12000), 0.5, 0.003);
    EXPECT_NEAR(loudestAt(ffmpegHears(file, 12000), 12000), 0.5, 0.003);
  }
  // The bytes of a recording decode as its file does.
  const std::string bytes = fileContents(ours);
  EXPECT_EQ(SoundDecoder::decode({bytes.begin(), bytes.end()}, 12000),
            SoundDecoder::decodeFile(ours, 12000));
  // A picture size or no sound is no recording; a file that cannot be written or a picture of no
  // width is an error at once.
  options.width = 160;
  options.height = 120;
  EXPECT_FALSE(MovieWriter::open(ours, options, error));
  const std::string nowhere = (tree.path() / "missing" / "output.mov").string();
  EXPECT_FALSE(MovieWriter::open(nowhere, {160, 120, 15, 0, 1}, error));
  EXPECT_NE(error.find(nowhere), std::string::npos) << error;
  error.clear();
  EXPECT_FALSE(MovieWriter::open(path, {0, 120, 15, 0, 1}, error));
  EXPECT_FALSE(error.empty());
}

// WAV through the tests' decoder is the virtual speaker's WaveDecoder; its AAC side is the click's
// above, checked against ffmpeg.
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

  const std::string bytes = fileContents(wav);
  EXPECT_EQ(SoundDecoder::decode({bytes.begin(), bytes.end()}, 48000), samples);
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

std::vector<std::int16_t> tone(double frequency, int rate, int frames, int channels = 1,
                               int silentChannel = -1) {
  std::vector<std::int16_t> samples(static_cast<std::size_t>(frames) * channels);
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      samples[static_cast<std::size_t>(i) * channels + c] =
          c == silentChannel
              ? 0
              : static_cast<std::int16_t>(10000 * std::sin(2 * M_PI * frequency * i / rate));
    }
  }
  return samples;
}

// Root-mean-square of one channel, away from the ends.
double level(const std::vector<std::int16_t>& samples, int channels = 1, int channel = 0) {
  const std::size_t frames = samples.size() / channels;
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t i = frames / 10; i < frames * 9 / 10; ++i, ++count) {
    const double v = samples[i * channels + channel];
    sum += v * v;
  }
  return std::sqrt(sum / static_cast<double>(count));
}

int upwardCrossings(const std::vector<std::int16_t>& samples) {
  int crossings = 0;
  for (std::size_t i = 1; i < samples.size(); ++i)
    crossings += samples[i - 1] < 0 && samples[i] >= 0;
  return crossings;
}

std::vector<std::int16_t> resample(int from, int to, const std::vector<std::int16_t>& in,
                                   std::size_t piece, int channels = 1) {
  SoundResampler resampler(from, to, channels);
  std::vector<std::int16_t> out;
  const std::size_t frames = in.size() / channels;
  for (std::size_t at = 0; at < frames; at += piece) {
    resampler.push(in.data() + at * channels, std::min(piece, frames - at), out);
  }
  resampler.finish(out);
  return out;
}

TEST(SoundResampler, DownKeepsPitchLevelAndLengthWhateverThePiecesAndLetsNothingAlias) {
  const auto in = tone(1000, 48000, 48000);
  const auto out = resample(48000, 12000, in, 777);
  ASSERT_EQ(out.size(), 12000u) << "one second in, one second out";
  EXPECT_EQ(out, resample(48000, 12000, in, in.size())) << "pieces change nothing";
  EXPECT_NEAR(upwardCrossings(out), 1000, 2);
  EXPECT_NEAR(level(out), level(in), level(in) * 0.03);
  // 9 kHz cannot exist at 12,000 Hz: it is filtered out, not folded down to 3 kHz.
  const auto high = resample(48000, 12000, tone(9000, 48000, 48000), 4096);
  EXPECT_LT(level(high), level(in) * 0.02);
}

TEST(SoundResampler, UpKeepsMomentsAndChannelsApart) {
  // A click at input frame 100, on the left only.
  std::vector<std::int16_t> click(2 * 1200, 0);
  click[200] = 20000;
  const auto out = resample(12000, 48000, click, 333, 2);
  ASSERT_EQ(out.size(), 2u * 4800);
  std::size_t loudest = 0;
  for (std::size_t i = 0; i < out.size() / 2; ++i) {
    if (std::abs(out[i * 2]) > std::abs(out[loudest * 2])) loudest = i;
    EXPECT_EQ(out[i * 2 + 1], 0) << "the right channel stays silent";
  }
  EXPECT_EQ(loudest, 400u) << "the click keeps its moment";

  const auto stereo = resample(22050, 48000, tone(440, 22050, 22050, 2, 1), 1000, 2);
  EXPECT_EQ(stereo.size(), 2u * 48000);
  EXPECT_NEAR(level(stereo, 2, 0), 10000 / std::sqrt(2.0), 300);
  EXPECT_EQ(level(stereo, 2, 1), 0);
  // The same rate passes the samples through untouched.
  const auto same = tone(440, 48000, 1000);
  EXPECT_EQ(resample(48000, 48000, same, 100), same);
}

}  // namespace
}  // namespace quorvel::testing
