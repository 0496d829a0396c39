#include "support/EvidenceMedia.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "media/MovieWriter.h"
#include "media/WaveDecoder.h"
#include "tests/video/ColourSequence.h"
#include "tests/video/QRCodeHelper.h"

namespace quorvel::testing {

namespace {

struct Rgb {
  std::uint8_t r, g, b;
};

Rgb rgbOf(const Color& colour) {
  auto byte = [](double v) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
  };
  return {byte(colour.red), byte(colour.green), byte(colour.blue)};
}

// The phone's screen, width x height R, G, B pixels.
struct Screen {
  int width, height;
  std::vector<Rgb> pixels;
  Screen(int w, int h, Rgb fill)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * h, fill) {}
  void rect(int x, int y, int w, int h, Rgb colour) {
    for (int row = std::max(0, y); row < std::min(height, y + h); ++row) {
      for (int col = std::max(0, x); col < std::min(width, x + w); ++col) {
        pixels[static_cast<std::size_t>(row) * width + col] = colour;
      }
    }
  }
};

void drawCode(Screen& screen, const std::string& text) {
  auto image = QRCodeHelper::generateQRCode(text);
  if (!image) return;
  // Full width, drawn without smoothing, in the middle.
  const int side = screen.width;
  const int top = (screen.height - side) / 2;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const int sx = x * image->width / side, sy = y * image->height / side;
      const std::uint8_t v = image->bytes[static_cast<std::size_t>(sy) * image->width + sx];
      screen.pixels[static_cast<std::size_t>(top + y) * screen.width + x] = {v, v, v};
    }
  }
}

// What the screen shows at `seconds` into the film.
Screen screenAt(const FilmScript& script, int width, int height, double seconds) {
  const Rgb white{255, 255, 255}, grey{90, 90, 90};
  Screen screen(width, height, white);
  const double codeFrom = script.lead, coloursFrom = codeFrom + script.startShown;
  const double endFrom = coloursFrom + static_cast<double>(script.steps.size());
  if (seconds < codeFrom && seconds >= codeFrom - 0.6 && !script.earlierCode.empty()) {
    drawCode(screen, script.earlierCode);
  } else if (seconds < codeFrom) {
    // Instructions: a title, lines of text, the red record button.
    screen.rect(width / 10, height / 12, width * 7 / 10, height / 40, grey);
    for (int line = 0; line < 4; ++line) {
      screen.rect(width / 10, height / 6 + line * height / 30, width * 8 / 10, height / 80, grey);
    }
    screen.rect(width * 9 / 20, height * 8 / 10, width / 10, width / 10, {230, 60, 60});
  } else if (seconds < coloursFrom) {
    drawCode(screen, script.startCode);
  } else if (seconds < endFrom) {
    const int index = script.steps[static_cast<std::size_t>(seconds - coloursFrom)];
    // -1: a white step with a black label, which the sequence never shows.
    const colour_sequence::Step whiteStep{0, "white", Color::white(), Color::black()};
    const auto& step = index < 0 ? whiteStep : colour_sequence::kSteps[index];
    screen = Screen(width, height, rgbOf(step.background));
    // The MD5 label: two lines of "letters" in the label's colour.
    const Rgb label = rgbOf(step.label);
    for (int line = 0; line < 2; ++line) {
      for (int letter = 0; letter < (line == 0 ? 22 : 10); ++letter) {
        screen.rect(width / 20 + letter * width / 25, height / 2 + line * height / 40, width / 40,
                    height / 60, label);
      }
    }
  } else if (!script.endCode.empty()) {
    drawCode(screen, script.endCode);
  }
  return screen;
}

}  // namespace

double filmSeconds(const FilmScript& script) {
  return script.lead + script.startShown + static_cast<double>(script.steps.size()) +
         (script.endCode.empty() ? 0.0 : script.endShown);
}

bool writeFilm(const std::string& path, const FilmScript& script, std::string& error) {
  constexpr int kSoundRate = 48000;
  MovieWriter::Options options;
  options.width = script.width;
  options.height = script.height;
  options.framesPerSecond = script.framesPerSecond;
  options.audioSampleRate = script.withSound ? kSoundRate : 0;
  options.realTime = false;
  auto writer = MovieWriter::open(path, options, error);
  if (!writer) return false;
  std::mt19937 random(script.seed);
  std::normal_distribution<double> noise(0, 6);
  // The screen's own size: full frame, or 60 % of the width as a camera in front of a mirror.
  const int screenWidth =
      script.camera ? static_cast<int>(script.width * script.screenShare) : script.width;
  const int screenHeight =
      script.camera ? screenWidth * script.height / script.width : script.height;
  const double turn = script.camera ? 3.0 * M_PI / 180 : 0;
  const double cosTurn = std::cos(turn), sinTurn = std::sin(turn);
  const int frames = static_cast<int>(std::lround(filmSeconds(script) * script.framesPerSecond));
  const auto samplesPerFrame = static_cast<std::size_t>(kSoundRate / script.framesPerSecond);
  std::vector<std::int16_t> sound(samplesPerFrame);
  std::vector<std::uint8_t> bgra(static_cast<std::size_t>(script.width) * script.height * 4);
  std::vector<Rgb> picture(static_cast<std::size_t>(script.width) * script.height);
  for (int i = 0; i < frames; ++i) {
    const double seconds = i / script.framesPerSecond;
    const Screen screen = screenAt(script, screenWidth, screenHeight, seconds);
    for (int y = 0; y < script.height; ++y) {
      for (int x = 0; x < script.width; ++x) {
        Rgb pixel;
        if (!script.camera) {
          pixel = screen.pixels[static_cast<std::size_t>(y) * screenWidth + x];
        } else {
          // The screen turned a little about the frame's centre, over a room of wood-like
          // stripes.
          const double dx = x - script.width / 2.0, dy = y - script.height / 2.0;
          const int sx =
              static_cast<int>(std::lround(cosTurn * dx + sinTurn * dy + screenWidth / 2.0));
          const int sy =
              static_cast<int>(std::lround(-sinTurn * dx + cosTurn * dy + screenHeight / 2.0));
          if (sx >= 0 && sy >= 0 && sx < screenWidth && sy < screenHeight) {
            pixel = screen.pixels[static_cast<std::size_t>(sy) * screenWidth + sx];
          } else {
            const auto stripe = static_cast<std::uint8_t>(100 + 40 * std::sin(x * 0.05 + y * 0.01) +
                                                          (y / 40 % 2) * 20);
            pixel = script.blueRoom ? Rgb{static_cast<std::uint8_t>(stripe / 3),
                                          static_cast<std::uint8_t>(stripe / 2), stripe}
                                    : Rgb{stripe, static_cast<std::uint8_t>(stripe * 3 / 4),
                                          static_cast<std::uint8_t>(stripe / 2)};
          }
        }
        if (script.blackPicture) pixel = {0, 0, 0};
        picture[static_cast<std::size_t>(y) * script.width + x] = pixel;
      }
    }
    for (int y = 0; y < script.height; ++y) {
      for (int x = 0; x < script.width; ++x) {
        Rgb pixel = picture[static_cast<std::size_t>(y) * script.width + x];
        if (script.camera && !script.blackPicture) {
          // A little blur (the pixel with its right and lower neighbours) and sensor noise.
          const Rgb right = picture[static_cast<std::size_t>(y) * script.width +
                                    std::min(x + 1, script.width - 1)];
          const Rgb below =
              picture[static_cast<std::size_t>(std::min(y + 1, script.height - 1)) * script.width +
                      x];
          const double n = noise(random);
          // Exposure lifts black to grey; a warm white balance cuts blue more than green.
          auto mix = [&](int a, int b, int c, double balance) {
            return static_cast<std::uint8_t>(
                std::clamp(28 + 0.85 * balance * (2 * a + b + c) / 4.0 + n, 0.0, 255.0));
          };
          pixel = {mix(pixel.r, right.r, below.r, 1.0), mix(pixel.g, right.g, below.g, 0.93),
                   mix(pixel.b, right.b, below.b, 0.8)};
        }
        // The camera films a mirror: left and right change places.
        std::uint8_t* out =
            &bgra[(static_cast<std::size_t>(y) * script.width + (script.width - 1 - x)) * 4];
        out[0] = pixel.b, out[1] = pixel.g, out[2] = pixel.r, out[3] = 255;
      }
    }
    writer->addVideoFrame(bgra.data(), script.width, script.height, script.width * 4, seconds);
    if (script.withSound) {
      // The room's hum.
      for (std::size_t s = 0; s < sound.size(); ++s) {
        const double t = (static_cast<double>(i) * samplesPerFrame + s) / kSoundRate;
        sound[s] = static_cast<std::int16_t>(600 * std::sin(2 * M_PI * 120 * t));
      }
      writer->addAudio(sound.data(), sound.size());
    }
  }
  if (auto failed = writer->finish()) {
    error = *failed;
    return false;
  }
  return true;
}

bool writeRecording(const std::string& path, const std::vector<float>& samples, int rate,
                    std::string& error) {
  MovieWriter::Options options;
  options.audioSampleRate = rate;
  options.realTime = false;
  auto writer = MovieWriter::open(path, options, error);
  if (!writer) return false;
  std::vector<std::int16_t> pcm(samples.size());
  std::transform(samples.begin(), samples.end(), pcm.begin(), [](float v) {
    return static_cast<std::int16_t>(std::lround(std::clamp(v, -1.0f, 1.0f) * 32767));
  });
  for (std::size_t at = 0; at < pcm.size(); at += 1024) {
    writer->addAudio(pcm.data() + at, std::min<std::size_t>(1024, pcm.size() - at));
  }
  if (auto failed = writer->finish()) {
    error = *failed;
    return false;
  }
  return true;
}

std::vector<float> soundResource(const std::string& name, int rate) {
  std::vector<float> samples;
  auto decoded =
      WaveDecoder::decodeFile(std::string(QUORVEL_SOUNDS_DIR) + "/" + name + ".wav", rate);
  if (!decoded) return samples;
  for (std::int16_t v : *decoded) samples.push_back(v / 32768.0f);
  return samples;
}

std::string timestampText(std::int64_t millis, int offsetMinutes) {
  const std::int64_t local = millis + static_cast<std::int64_t>(offsetMinutes) * 60000;
  std::int64_t days = local / 86400000;
  std::int64_t rest = local % 86400000;
  if (rest < 0) rest += 86400000, --days;
  // Howard Hinnant's civil_from_days.
  const std::int64_t z = days + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned day = doy - (153 * mp + 2) / 5 + 1;
  const unsigned month = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t year = static_cast<std::int64_t>(yoe) + era * 400 + (month <= 2);
  const int absOffset = std::abs(offsetMinutes);
  char text[64];
  std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02lld:%02lld:%02lld.%03lld%c%02d%02d",
                static_cast<long long>(year), month, day, static_cast<long long>(rest / 3600000),
                static_cast<long long>(rest / 60000 % 60), static_cast<long long>(rest / 1000 % 60),
                static_cast<long long>(rest % 1000), offsetMinutes < 0 ? '-' : '+', absOffset / 60,
                absOffset % 60);
  return text;
}

}  // namespace quorvel::testing
