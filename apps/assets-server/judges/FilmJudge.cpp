#include "FilmJudge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeText.h"
#include "MediaFile.h"
#include "media/QrCodeReader.h"
#include "tests/video/ColourSequence.h"

namespace quorvel {

namespace {

namespace sequence = colour_sequence;
constexpr std::size_t kStepCount = std::size(sequence::kSteps);

constexpr int stepOf(std::string_view name) {
  for (std::size_t i = 0; i < kStepCount; ++i) {
    if (sequence::kSteps[i].name == name) return static_cast<int>(i);
  }
  return -1;
}
constexpr int kBlack = stepOf("black");
constexpr int kRed = stepOf("red");
static_assert(kBlack >= 0 && kRed >= 0 && kRed < kBlack,
              "the dark share of the red frames is black's reference");

// QR codes are looked for this often while none is in sight, on a grey picture whose longer side
// is at most kQrSide pixels (a camera's 720 x 1280 frame at half size keeps a code filmed across
// 60 % of the width at five pixels a module). When a look finds a code, the frames since the
// previous look are read one by one, so the first frame that shows it gives its time. A film
// whose codes are not all found so is read once more at kQrFullSide (a screen small in the
// picture), which costs time only for films that would fail otherwise.
constexpr double kQrInterval = 0.25;
constexpr int kQrSide = 640;
constexpr int kQrFullSide = 1920;
// Films are judged up to this length: the test's film lasts some ten seconds.
constexpr double kLongestFilm = 300;

// What counts as a colour seen. Each frame is averaged down to kTiny x kTiny pixels; a pixel is
// one of the sequence's bright colours when it is saturated and lit (HSV saturation >= 0.35,
// value >= 0.25, chroma >= 0.15) with a hue in that colour's range (red < 20 or >= 330 degrees,
// yellow 35-75, green 85-165, blue 195-265): hue and saturation ignore most of a camera's
// exposure and white balance. It is dark (the black step) when its value is below 0.25.
// The screen may fill the picture or be a small part of a room, so a frame's shares are weighed
// against the room's own: a frame shows a bright colour when that colour's share is at least
// kRise above its share while the start code was read (the screen white, the room as it is) and
// rose most of the bright colours; it shows black, only between red and green, when its dark
// share is kRise above the red frames' (the room's shadows are in those too). A colour is seen
// when kFrames frames in a row show it, each step after the one before.
constexpr int kTiny = 48;
constexpr double kDark = 0.25;
constexpr double kChroma = 0.15;
constexpr double kSaturation = 0.35;
constexpr double kRise = 0.03;
constexpr int kFrames = 2;

struct FrameColours {
  double seconds = 0;
  std::array<double, kStepCount> share{};  // bright colours; share[kBlack] is the dark share
};

// The bright colours' hue ranges in degrees (red's wraps around 0).
struct HueRange {
  std::string_view name;
  double from, to;
};
constexpr HueRange kHues[] = {
    {"red", 330, 20}, {"yellow", 35, 75}, {"green", 85, 165}, {"blue", 195, 265}};
static_assert(std::size(kHues) + 1 == kStepCount, "every step but black has a hue");

int hueStep(double hue) {
  for (const auto& range : kHues) {
    const bool in = range.from < range.to ? hue >= range.from && hue < range.to
                                          : hue >= range.from || hue < range.to;
    if (in) return stepOf(range.name);
  }
  return -1;
}

FrameColours classify(const MediaFile::Picture& rgb, double seconds) {
  FrameColours colours;
  colours.seconds = seconds;
  const std::size_t pixels = rgb.bytes.size() / 3;
  if (pixels == 0) return colours;
  std::array<int, kStepCount> counts{};
  for (std::size_t i = 0; i < pixels; ++i) {
    const double r = rgb.bytes[3 * i] / 255.0, g = rgb.bytes[3 * i + 1] / 255.0,
                 b = rgb.bytes[3 * i + 2] / 255.0;
    const double high = std::max({r, g, b}), low = std::min({r, g, b});
    const double chroma = high - low;
    if (high < kDark) {
      ++counts[kBlack];
      continue;
    }
    if (chroma < kChroma || chroma / high < kSaturation) continue;
    double hue;
    if (high == r) {
      hue = 60 * std::fmod((g - b) / chroma + 6, 6.0);
    } else if (high == g) {
      hue = 60 * ((b - r) / chroma + 2);
    } else {
      hue = 60 * ((r - g) / chroma + 4);
    }
    const int step = hueStep(hue);
    if (step >= 0) ++counts[static_cast<std::size_t>(step)];
  }
  for (std::size_t step = 0; step < kStepCount; ++step) {
    colours.share[step] = static_cast<double>(counts[step]) / static_cast<double>(pixels);
  }
  return colours;
}

double rounded(double seconds) { return std::round(seconds * 100) / 100; }

std::string secondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", seconds);
  return text;
}

struct SequenceFinding {
  // When each step was first seen (its first frame), in order; empty for steps not seen.
  std::vector<double> seenAt;
  std::string problem;  // empty when all were seen in order
};

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

// The steps in order among the frames between the two codes; room holds the frames that show the
// room with the start code on the screen.
SequenceFinding findSequence(const std::vector<FrameColours>& frames,
                             const std::vector<FrameColours>& room) {
  SequenceFinding finding;
  std::array<double, kStepCount> baseline{};
  for (std::size_t step = 0; step < kStepCount; ++step) {
    std::vector<double> shares;
    for (const auto& frame : room) shares.push_back(frame.share[step]);
    baseline[step] = median(shares);
  }
  // The bright colour that rose most, if it rose enough.
  auto dominant = [&](const FrameColours& frame) {
    int best = -1;
    double bestRise = kRise;
    for (std::size_t step = 0; step < kStepCount; ++step) {
      const double rise = frame.share[step] - baseline[step];
      if (static_cast<int>(step) != kBlack && rise >= bestRise) {
        best = static_cast<int>(step);
        bestRise = rise;
      }
    }
    return best;
  };
  std::vector<double> redFramesDark;
  for (const auto& frame : frames) {
    if (dominant(frame) == kRed) redFramesDark.push_back(frame.share[kBlack]);
  }
  const double redDark = median(redFramesDark);
  auto shows = [&](const FrameColours& frame, int step) {
    const int bright = dominant(frame);
    if (step != kBlack) return bright == step;
    const double darkRise = frame.share[kBlack] - redDark;
    if (darkRise < kRise) return false;
    if (bright < 0) return true;
    const auto index = static_cast<std::size_t>(bright);
    return frame.share[index] - baseline[index] < darkRise;
  };
  int step = 0;
  int run = 0;
  double runStart = 0;
  for (const auto& frame : frames) {
    if (step == static_cast<int>(kStepCount)) break;
    if (!shows(frame, step)) {
      run = 0;
      continue;
    }
    if (run++ == 0) runStart = frame.seconds;
    if (run >= kFrames) {
      finding.seenAt.push_back(runStart);
      ++step;
      run = 0;
    }
  }
  if (step < static_cast<int>(kStepCount)) {
    // Black counts only after red: seen elsewhere it is the labels' text or the room.
    const bool anywhere =
        step != kBlack && std::any_of(frames.begin(), frames.end(),
                                      [&](const FrameColours& f) { return shows(f, step); });
    const std::string name(sequence::kSteps[step].name);
    finding.problem = anywhere ? name + " seen out of order" : name + " missing";
  }
  return finding;
}

struct Codes {
  std::optional<std::string> start;  // the first start code read, and when
  double startAt = 0;
  std::optional<std::string> end;  // the first end code read after it, and when
  double endAt = 0;
};

std::optional<std::string> codeOfKind(const std::vector<std::string>& texts,
                                      std::string_view prefix) {
  for (const auto& text : texts) {
    if (text.rfind(prefix, 0) == 0) return text;
  }
  return std::nullopt;
}

std::vector<std::string> readCodes(MediaFile::Frame& frame, int side) {
  const MediaFile::Picture& grey = frame.grey(side);
  return QrCodeReader::read(grey.bytes.data(), grey.width, grey.height, grey.width);
}

// What a reading of the film found.
struct FilmReading {
  Codes codes;
  std::vector<FrameColours> colours;
  int frames = 0;
  double lastSeconds = 0;
  double frameSeconds = 0;  // the last frame's length, from the frames before it
};

// Reads the codes (on pictures at most side pixels long) and the colours of the film up to its
// end code.
FilmReading readFilm(MediaFile& film, int side) {
  FilmReading reading;
  Codes& codes = reading.codes;
  std::vector<std::unique_ptr<MediaFile::Frame>> sinceLastLook;
  double lastLook = -1e9;
  // The code looked for now: "start;" then "end;".
  auto wanted = [&] { return codes.start ? std::string_view("end;") : std::string_view("start;"); };
  auto found = [&](const std::string& text, double seconds) {
    if (!codes.start) {
      codes.start = text;
      codes.startAt = seconds;
    } else {
      codes.end = text;
      codes.endAt = seconds;
    }
  };
  film.forEachPicture([&](MediaFile::Frame& frame) {
    const double seconds = frame.seconds();
    if (reading.frames > 0 && seconds > reading.lastSeconds) {
      reading.frameSeconds = seconds - reading.lastSeconds;
    }
    reading.lastSeconds = seconds;
    ++reading.frames;
    if (seconds > kLongestFilm) return false;
    reading.colours.push_back(classify(frame.rgb(kTiny, kTiny), seconds));
    if (seconds - lastLook < kQrInterval) {
      if (auto kept = frame.keep()) sinceLastLook.push_back(std::move(kept));
      return true;
    }
    lastLook = seconds;
    auto code = codeOfKind(readCodes(frame, side), wanted());
    if (code) {
      // The frames skipped since the last look may show it first.
      for (auto& earlier : sinceLastLook) {
        if (auto first = codeOfKind(readCodes(*earlier, side), wanted())) {
          found(*first, earlier->seconds());
          code.reset();
          break;
        }
      }
      if (code) found(*code, seconds);
    }
    sinceLastLook.clear();
    return !codes.end.has_value();
  });
  return reading;
}

const std::string* stringField(const nlohmann::json& result, const char* key) {
  if (!result.is_object()) return nullptr;
  auto it = result.find(key);
  if (it == result.end() || !it->is_string()) return nullptr;
  return it->get_ptr<const std::string*>();
}

// Check 5: the codes' times against each other, the film and the result; empty when they agree.
std::string timesProblem(const std::string& startText, const std::string& endText,
                         const std::string& timestamp, const std::string* version,
                         double filmSeconds) {
  auto start = CodeText::parse(startText);
  auto end = CodeText::parse(endText);
  if (!start || !end) return "a code's time cannot be read";
  if (start->identifier != end->identifier) return "the two codes name different devices";
  if (end->millis < start->millis) return "the end code was made before the start code";
  const double span = static_cast<double>(end->millis - start->millis) / 1000;
  // The end code is made when the sequence reaches it; timers fire late, never early.
  constexpr double kTolerance = 0.5;
  if (span < sequence::kEndCodeAt - kTolerance) {
    return "the codes are " + secondsText(span) + " apart, less than the colour sequence lasts";
  }
  // Version 2 makes both codes while the camera records; version 1 makes its start code before.
  constexpr double kSlack = 2.0;
  if (version != nullptr && *version == "2" && span > filmSeconds + kSlack) {
    return "the codes are further apart than the film is long";
  }
  auto stamped = CodeText::parseTimestamp(timestamp);
  if (!stamped) return "the result's timestamp cannot be read";
  constexpr std::int64_t kClockSlackMillis = 2000;
  if (end->millis > *stamped + kClockSlackMillis) {
    return "the end code was made after the result";
  }
  return {};
}

}  // namespace

Verdict FilmJudge::judge(const nlohmann::json& result, const std::filesystem::path& path) {
  const std::string* startCode = stringField(result, "start_qr_code");
  const std::string* endCode = stringField(result, "end_qr_code");
  const std::string* timestamp = stringField(result, "timestamp");
  if (startCode == nullptr) return Verdict::unknown("the result has no start code to compare");
  if (endCode == nullptr) return Verdict::unknown("the result has no end code to compare");
  if (timestamp == nullptr) return Verdict::unknown("the result has no timestamp");
  const std::string* version = stringField(result, "version");

  // 1. A film that plays, with a picture and a sound track.
  std::string error;
  auto film = MediaFile::open(path, error);
  if (!film) return Verdict::fail("the film cannot be played");
  if (!film->hasPicture()) return Verdict::fail("the film has no picture");
  if (!film->hasSound()) return Verdict::fail("the film has no sound track");
  FilmReading reading = readFilm(*film, kQrSide);
  if (!reading.codes.end && reading.frames > 0 && film->longerSide() > kQrSide) {
    reading = readFilm(*film, kQrFullSide);
  }
  if (reading.frames == 0) return Verdict::fail("the film cannot be played");
  const double filmSeconds = std::max(film->duration(), reading.lastSeconds);
  nlohmann::json details = nlohmann::json::object();
  details["film_seconds"] = rounded(filmSeconds);
  // Reading stops at the end code; pictures that end well before the index says are a file cut
  // short (an upload broken off), whatever they showed so far.
  constexpr double kCutShort = 1.0;
  const double shown = reading.lastSeconds + reading.frameSeconds;
  if (!reading.codes.end && reading.lastSeconds < kLongestFilm &&
      shown + kCutShort < film->pictureSeconds()) {
    details["pictures_end_at"] = rounded(shown);
    return Verdict::fail("the film cannot be played", details);
  }
  const Codes& codes = reading.codes;
  // 2. The run's start code, as the first start code read.
  if (!codes.start) return Verdict::fail("the start code never appears in the film", details);
  details["start_code_at"] = rounded(codes.startAt);
  if (*codes.start != *startCode) {
    details["start_code_read"] = *codes.start;
    return Verdict::fail("the first start code in the film is not this run's", details);
  }
  // 3. The run's end code, read after it.
  if (!codes.end) return Verdict::fail("no end code appears after the start code", details);
  details["end_code_at"] = rounded(codes.endAt);
  if (*codes.end != *endCode) {
    details["end_code_read"] = *codes.end;
    return Verdict::fail("the end code in the film is not this run's", details);
  }
  // 4. The colours in order between the two readings.
  std::vector<FrameColours> between;
  for (const auto& frame : reading.colours) {
    if (frame.seconds > codes.startAt && frame.seconds < codes.endAt) between.push_back(frame);
  }
  // The room with the start code on the screen: just before and as it was read.
  std::vector<FrameColours> room;
  for (const auto& frame : reading.colours) {
    if (frame.seconds >= codes.startAt - 1.0 && frame.seconds <= codes.startAt + 0.1) {
      room.push_back(frame);
    }
  }
  SequenceFinding sequenceFound = findSequence(between, room);
  auto seen = nlohmann::json::array();
  for (std::size_t i = 0; i < sequenceFound.seenAt.size(); ++i) {
    seen.push_back({{"colour", std::string(sequence::kSteps[i].name)},
                    {"at", rounded(sequenceFound.seenAt[i])}});
  }
  details["colours"] = seen;
  if (!sequenceFound.problem.empty()) {
    return Verdict::fail("the screen's colours were not seen in order between the codes (" +
                             sequenceFound.problem + ")",
                         details);
  }
  // 5. The codes' times.
  std::string problem = timesProblem(*startCode, *endCode, *timestamp, version, filmSeconds);
  if (!problem.empty()) {
    return Verdict::fail("the codes' times do not agree with the result (" + problem + ")",
                         details);
  }
  return Verdict::pass(details);
}

}  // namespace quorvel
