#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "CodeText.h"
#include "EvidenceJudges.h"
#include "SpeakerRecordingJudge.h"
#include "SpokenWordJudge.h"
#include "WordRecogniser.h"
#include "media/IsoMediaExport.h"
#include "support/EvidenceMedia.h"
#include "support/MovieProbe.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {
namespace {

// 2026-11-26T10:15:20.000+0000
constexpr std::int64_t kBase = 1795688120000;
constexpr const char* kImei = "imei=356938035643809;";

std::string code(const std::string& kind, double seconds, const std::string& identifier = kImei) {
  return kind + ";" + identifier + timestampText(kBase + std::llround(seconds * 1000));
}

// A run whose start code is made as it shows and whose end code follows the five colours.
FilmScript goodScript() {
  FilmScript script;
  script.startCode = code("start", script.lead);
  script.endCode = code("end", script.lead + script.startShown + 5);
  return script;
}

nlohmann::json resultFor(const FilmScript& script, const std::string& version = "2") {
  return {{"success", true},
          {"url", "https://assets.example/video.mp4"},
          {"timestamp", timestampText(kBase + std::llround(filmSeconds(script) * 1000) + 300)},
          {"version", version},
          {"md5", "bc24fcd630e8812f0751bf92c0f74435"},
          {"start_qr_code", script.startCode},
          {"end_qr_code", script.endCode}};
}

// A pass when why is empty; else a fail whose reason begins with why.
void expectVerdict(const Verdict& verdict, const std::string& why) {
  if (why.empty()) {
    EXPECT_EQ(verdict.verdict, "pass") << verdict.why << " " << verdict.details.dump();
  } else {
    EXPECT_EQ(verdict.verdict, "fail") << verdict.details.dump();
    EXPECT_EQ(verdict.why.substr(0, why.size()), why) << verdict.details.dump();
  }
}

class EvidenceJudgesTest : public ::testing::Test {
 protected:
  std::filesystem::path film(const FilmScript& script, const std::string& name = "film.mov") {
    const auto path = tree.path() / name;
    std::string error;
    EXPECT_TRUE(writeFilm(path.string(), script, error)) << error;
    return path;
  }
  std::filesystem::path recording(const std::vector<float>& samples, int rate,
                                  const std::string& name = "recording.m4a") {
    const auto path = tree.path() / name;
    std::string error;
    EXPECT_TRUE(writeRecording(path.string(), samples, rate, error)) << error;
    return path;
  }

  TemporaryTree tree{"quorvel-judges"};
};

TEST_F(EvidenceJudgesTest, AGoodFilmPassesAndSaysWhereTheCodesAndColoursWereSeen) {
  const FilmScript script = goodScript();
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(script), film(script));
  ASSERT_EQ(verdict.verdict, "pass") << verdict.why << " " << verdict.details.dump();
  const auto& details = verdict.details;
  EXPECT_NEAR(details["start_code_at"].get<double>(), script.lead, 0.07);
  EXPECT_NEAR(details["end_code_at"].get<double>(), script.lead + script.startShown + 5, 0.07);
  ASSERT_EQ(details["colours"].size(), 5u) << details.dump();
  const char* names[] = {"blue", "yellow", "red", "black", "green"};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(details["colours"][i]["colour"], names[i]);
    EXPECT_NEAR(details["colours"][i]["at"].get<double>(), script.lead + script.startShown + i,
                0.07);
  }
}

TEST_F(EvidenceJudgesTest, FilmsAsACameraSeesThemPassInBothVersions) {
  // The screen over a room, turned, blurred and noisy; version 1's camera starts recording when
  // it reads the start code, so the code shows only briefly at the very start.
  FilmScript camera = goodScript();
  camera.camera = true;
  camera.width = 540;
  camera.height = 960;
  EXPECT_EQ(EvidenceJudges::judge("device_front_video", resultFor(camera), film(camera)).verdict,
            "pass");
  FilmScript first = camera;
  first.lead = 0;
  first.startShown = 0.2;
  first.startCode = code("start", -1.5);  // made before the recording started
  first.endCode = code("end", first.startShown + 5);
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(first, "1"), film(first, "v1.mov"));
  EXPECT_EQ(verdict.verdict, "pass") << verdict.why << " " << verdict.details.dump();
  EXPECT_NEAR(verdict.details.value("start_code_at", -1.0), 0, 0.01);
}

TEST_F(EvidenceJudgesTest, ASmallScreenInABlueRoomPasses) {
  // The screen a quarter of the frame wide (its code at three pixels a module) among walls of the
  // sequence's own blue: the colours are weighed against the room, the codes read at full size.
  FilmScript small = goodScript();
  small.camera = true;
  small.width = 540;
  small.height = 960;
  small.screenShare = 0.25;
  small.blueRoom = true;
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(small), film(small));
  EXPECT_EQ(verdict.verdict, "pass") << verdict.why << " " << verdict.details.dump();
  // Without the colours the room alone shows no sequence.
  small.steps = {0, 0, 0, 0, 0};
  EXPECT_EQ(
      EvidenceJudges::judge("device_front_video", resultFor(small), film(small, "blue.mov")).why,
      "the screen's colours were not seen in order between the codes (yellow missing)");
}

// Each fault of a film fails with the first check it breaks.
TEST_F(EvidenceJudgesTest, FilmFaultsFailWithTheFirstCheckTheyBreak) {
  const FilmScript good = goodScript();
  struct Case {
    const char* name;
    std::function<void(FilmScript& film, nlohmann::json& result)> fault;
    std::string why;
  };
  const std::string other = "vendorID=8E1A3C52-7F47-4A44-9C61-0D5B4C2A9E11;";
  const std::string times = "the codes' times do not agree with the result (";
  const std::string colours = "the screen's colours were not seen in order between the codes (";
  const std::vector<Case> cases = {
      {"no sound track", [](FilmScript& f, nlohmann::json&) { f.withSound = false; },
       "the film has no sound track"},
      {"picture blacked out", [](FilmScript& f, nlohmann::json&) { f.blackPicture = true; },
       "the start code never appears in the film"},
      {"another run's start code",
       [&](FilmScript& f, nlohmann::json&) { f.startCode = code("start", 1.8, other); },
       "the first start code in the film is not this run's"},
      {"another run's start code before this run's",
       [&](FilmScript& f, nlohmann::json&) { f.earlierCode = code("start", 1.0, other); },
       "the first start code in the film is not this run's"},
      {"no end code", [](FilmScript& f, nlohmann::json&) { f.endCode.clear(); },
       "no end code appears after the start code"},
      {"the end code only before the start code",
       [](FilmScript& f, nlohmann::json&) {
         f.earlierCode = f.endCode;
         f.endCode.clear();
       },
       "no end code appears after the start code"},
      {"another run's end code",
       [&](FilmScript& f, nlohmann::json&) { f.endCode = code("end", 8.4, other); },
       "the end code in the film is not this run's"},
      {"colours out of order",
       [](FilmScript& f, nlohmann::json&) {
         f.steps = {1, 0, 2, 3, 4};
       },
       colours + "yellow seen out of order)"},
      {"red missing",
       [](FilmScript& f, nlohmann::json&) {
         f.steps = {0, 1, 3, 4, 4};
       },
       colours + "red missing)"},
      {"black missing",
       [](FilmScript& f, nlohmann::json&) {
         f.steps = {0, 1, 2, 2, 4};
       },
       colours + "black missing)"},
      {"white for black",
       [](FilmScript& f, nlohmann::json&) {
         f.steps = {0, 1, 2, -1, 4};
       },
       colours + "black missing)"},
      {"codes two seconds apart",
       [](FilmScript& f, nlohmann::json& r) {
         f.endCode = code("end", f.lead + 2);
         r["end_qr_code"] = f.endCode;
       },
       times + "the codes are 2.0 s apart, less than the colour sequence lasts)"},
      {"end code before the start code",
       [](FilmScript& f, nlohmann::json& r) {
         f.endCode = code("end", f.lead - 6);
         r["end_qr_code"] = f.endCode;
       },
       times + "the end code was made before the start code)"},
      {"codes of two devices",
       [&](FilmScript& f, nlohmann::json& r) {
         f.endCode = code("end", f.lead + 6.5, other);
         r["end_qr_code"] = f.endCode;
       },
       times + "the two codes name different devices)"},
      {"codes a minute apart in a version 2 film",
       [](FilmScript& f, nlohmann::json& r) {
         f.endCode = code("end", f.lead + 60);
         r["end_qr_code"] = f.endCode;
         r["timestamp"] = timestampText(kBase + 62000);
       },
       times + "the codes are further apart than the film is long)"},
      {"end code after the result",
       [](FilmScript&, nlohmann::json& r) { r["timestamp"] = timestampText(kBase + 3000); },
       times + "the end code was made after the result)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FilmScript script = good;
    nlohmann::json result = resultFor(good);
    c.fault(script, result);
    const Verdict verdict = EvidenceJudges::judge("device_front_video", result, film(script));
    EXPECT_EQ(verdict.verdict, "fail") << verdict.details.dump();
    EXPECT_EQ(verdict.why, c.why) << verdict.details.dump();
  }
}

TEST_F(EvidenceJudgesTest, Version1CodesMayBeFurtherApartThanTheFilmIsLong) {
  // Version 1 makes its start code before the camera records.
  FilmScript script = goodScript();
  script.startCode = code("start", script.lead - 30);
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(script, "1"), film(script));
  EXPECT_EQ(verdict.verdict, "pass") << verdict.why;
  EXPECT_EQ(
      EvidenceJudges::judge("device_front_video", resultFor(script, "2"), tree.path() / "film.mov")
          .why,
      "the codes' times do not agree with the result (the codes are further apart than "
      "the film is long)");
}

TEST(CodeTextTest, ReadsTheCodesKindIdentifierAndMomentInAnyZone) {
  auto utc = CodeText::parse("start;imei=356938035643809;2026-11-26T10:15:21.456+0000");
  auto india = CodeText::parse("end;imei=356938035643809;2026-11-26T15:45:21.456+0530");
  auto newfoundland = CodeText::parse("end;no_identifier;2026-11-26T06:45:21.456-0330");
  ASSERT_TRUE(utc && india && newfoundland);
  EXPECT_EQ(utc->kind, "start");
  EXPECT_EQ(india->identifier, "imei=356938035643809");
  EXPECT_EQ(newfoundland->identifier, "no_identifier");
  EXPECT_EQ(utc->millis, kBase + 1456);
  EXPECT_EQ(india->millis, utc->millis);
  EXPECT_EQ(newfoundland->millis, utc->millis);
  EXPECT_EQ(timestampText(utc->millis, 330), "2026-11-26T15:45:21.456+0530");
  // A leap day follows 28 February.
  EXPECT_EQ(CodeText::parseTimestamp("2028-02-29T00:00:00.000+0000"),
            *CodeText::parseTimestamp("2028-02-28T23:59:59.000+0000") + 1000);
  for (const char* bad :
       {"start;imei=1;2026-02-29T10:15:21.456+0000",  // no leap year
        "start;imei=1;2026-13-01T10:15:21.456+0000", "start;imei=1;2026-11-26 10:15:21.456+0000",
        "start;imei=1;2026-11-26T10:15:21.456", "start;imei=1;2026-11-26T10:15:21+0000",
        "begin;imei=1;2026-11-26T10:15:21.456+0000", "start;2026-11-26T10:15:21.456+0000", ""}) {
    EXPECT_FALSE(CodeText::parse(bad)) << bad;
  }
}

TEST_F(EvidenceJudgesTest, FilesThatAreNoFilmCannotBePlayed) {
  const FilmScript script = goodScript();
  const auto good = film(script);
  std::ifstream in(good, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // The SDK uploads an MP4 with its index first: cut short, it still opens.
  std::promise<std::optional<std::string>> exported;
  IsoMediaExport().exportMP4(good.string(), (tree.path() / "film.mp4").string(),
                             [&](std::optional<std::string> error) { exported.set_value(error); });
  ASSERT_EQ(exported.get_future().get(), std::nullopt);
  std::ifstream mp4In(tree.path() / "film.mp4", std::ios::binary);
  const std::string mp4((std::istreambuf_iterator<char>(mp4In)), std::istreambuf_iterator<char>());
  std::mt19937 random(7);
  std::string garbage(200000, '\0');
  for (char& c : garbage) c = static_cast<char>(random());
  const std::vector<std::pair<std::string, std::string>> files = {
      {"empty.mov", ""},
      {"garbage.mov", garbage},
      {"half.mov", bytes.substr(0, bytes.size() / 2)},
      {"cut.mp4", mp4.substr(0, mp4.size() / 4)},
      {"head.mov", bytes.substr(0, 64)},
      {"playlist.mov", "#EXTM3U\n#EXTINF:10,\n" + good.string() + "\n"},
  };
  for (const auto& [name, content] : files) {
    SCOPED_TRACE(name);
    tree.write(name, content);
    const Verdict verdict =
        EvidenceJudges::judge("device_front_video", resultFor(script), tree.path() / name);
    EXPECT_EQ(verdict.verdict, "fail");
    EXPECT_EQ(verdict.why, "the film cannot be played") << verdict.details.dump();
  }
}

TEST_F(EvidenceJudgesTest, PicturesLargerThanACameraFilmsAreNotDecoded) {
  // 4200 x 4100: refused from the file's header, before anything that size is allocated.
  const auto path = tree.path() / "huge.mov";
  ASSERT_TRUE(
      shell("ffmpeg -v error -f lavfi -i color=c=white:size=4200x4100:rate=2 -f lavfi "
            "-i anullsrc=r=48000:cl=mono -t 1 -c:v libx264 -preset ultrafast -c:a aac " +
            path.string()));
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(goodScript()), path);
  EXPECT_EQ(verdict.why, "the film cannot be played");
}

TEST_F(EvidenceJudgesTest, DamagedPacketsAreSkippedAndDecodingGoesOn) {
  const FilmScript script = goodScript();
  const auto path = film(script);
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  in.close();
  // Damage in the middle of the samples (the index is at the end of a QuickTime movie).
  std::mt19937 random(11);
  for (int i = 0; i < 40; ++i) {
    bytes[bytes.size() * 2 / 5 + random() % (bytes.size() / 10)] = static_cast<char>(random());
  }
  tree.write("damaged.mov", bytes);
  const Verdict verdict =
      EvidenceJudges::judge("device_front_video", resultFor(script), tree.path() / "damaged.mov");
  EXPECT_NE(verdict.verdict, "unknown") << verdict.why;
  EXPECT_TRUE(verdict.details.contains("end_code_at")) << verdict.why << verdict.details.dump();
}

TEST_F(EvidenceJudgesTest, ResultsWithoutWhatTheyAreJudgedByAreUnknown) {
  const FilmScript script = goodScript();
  const auto path = film(script);
  nlohmann::json noStart = resultFor(script);
  noStart.erase("start_qr_code");
  nlohmann::json numericEnd = resultFor(script);
  numericEnd["end_qr_code"] = 42;
  nlohmann::json noTimestamp = resultFor(script);
  noTimestamp.erase("timestamp");
  for (const auto& result : {noStart, numericEnd, noTimestamp, nlohmann::json::array()}) {
    const Verdict verdict = EvidenceJudges::judge("device_front_video", result, path);
    EXPECT_EQ(verdict.verdict, "unknown") << result.dump();
    EXPECT_FALSE(verdict.why.empty());
  }
  EXPECT_EQ(
      EvidenceJudges::judge("device_front_video", resultFor(script), tree.path() / "gone").why,
      "the film is not on this server");
  EXPECT_FALSE(EvidenceJudges::judges("battery"));
  EXPECT_EQ(EvidenceJudges::judge("battery", {}, path).verdict, "unknown");
  EXPECT_TRUE(EvidenceJudges::judges("speaker_recording"));
  EXPECT_TRUE(EvidenceJudges::judges("read_text"));
}

// Sounds for the recording judges.
std::vector<float> noise(double seconds, int rate, double rms, unsigned seed = 3) {
  std::mt19937 random(seed);
  std::normal_distribution<float> gauss(0, static_cast<float>(rms));
  std::vector<float> samples(static_cast<std::size_t>(seconds * rate));
  for (float& s : samples) s = gauss(random);
  return samples;
}

// clip times gain at `at` seconds over bed, with two room echoes.
std::vector<float> over(std::vector<float> bed, const std::vector<float>& clip, double at,
                        double gain, int rate, bool echo = true) {
  const auto start = static_cast<std::size_t>(at * rate);
  const std::size_t echo1 = static_cast<std::size_t>(0.03 * rate),
                    echo2 = static_cast<std::size_t>(0.07 * rate);
  for (std::size_t i = 0; i < clip.size(); ++i) {
    const float v = static_cast<float>(clip[i] * gain);
    for (auto [delay, share] :
         {std::pair<std::size_t, float>{0, 1.0f}, {echo1, 0.4f}, {echo2, 0.2f}}) {
      if (!echo && delay > 0) continue;
      if (start + i + delay < bed.size()) bed[start + i + delay] += v * share;
    }
  }
  return bed;
}

std::vector<float> joined(const std::vector<std::string>& names, int rate, double gap) {
  std::vector<float> samples;
  for (const auto& name : names) {
    auto sound = soundResource(name, rate);
    samples.insert(samples.end(), sound.begin(), sound.end());
    samples.insert(samples.end(), static_cast<std::size_t>(gap * rate), 0.0f);
  }
  return samples;
}

TEST_F(EvidenceJudgesTest, SpeakerRecordingsPassWhenTheClipIsHeardLoudEnough) {
  constexpr int kRate = SpeakerRecordingJudge::kRate;
  const auto clip = soundResource("testfile", kRate);
  ASSERT_FALSE(clip.empty());
  struct Case {
    const char* name;
    std::vector<float> samples;
    std::string why;  // empty: a pass
  };
  const std::vector<Case> cases = {
      {"loud over room noise", over(noise(5, kRate, 0.003), clip, 0.5, 0.9, kRate), ""},
      {"quieter over room noise", over(noise(5, kRate, 0.003), clip, 0.5, 0.15, kRate), ""},
      {"after a three second lead-in", over(noise(8, kRate, 0.003), clip, 3.2, 0.5, kRate), ""},
      {"silence", std::vector<float>(5 * kRate, 0.0f), "the recording is silent"},
      {"white noise", noise(5, kRate, 0.1), "the test sound was not heard in the recording"},
      {"spoken words",
       over(noise(5, kRate, 0.003),
            joined({"en-US-computer", "pt-PT-telefone", "en-US-purple", "pt-PT-cadeira"}, kRate,
                   0.2),
            0.3, 0.8, kRate),
       "the test sound was not heard in the recording"},
      {"the video test's spoken instructions",
       over(noise(5, kRate, 0.003), soundResource("video_test_audio_EN", kRate), 0.3, 0.8, kRate),
       "the test sound was not heard in the recording"},
      {"the clip far too quiet", over(noise(5, kRate, 0.00003), clip, 0.5, 0.01, kRate, false),
       "the test sound is too quiet in the recording"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    expectVerdict(EvidenceJudges::judge("speaker_recording", {{"success", true}},
                                        recording(c.samples, kRate)),
                  c.why);
  }
}

TEST_F(EvidenceJudgesTest, ReadWordRecordingsPassWithSpeechOfOneWord) {
  constexpr int kRate = 12000;  // the SDK records at 12 kHz
  auto padded = [&](const std::vector<float>& sound) {
    return over(noise(sound.size() / double(kRate) + 1.2, kRate, 0.002), sound, 0.6, 0.8, kRate,
                false);
  };
  std::vector<float> tone(static_cast<std::size_t>(kRate), 0.0f);
  for (std::size_t i = 0; i < tone.size(); ++i) {
    tone[i] = static_cast<float>(0.3 * std::sin(2 * M_PI * 440 * i / kRate));
  }
  struct Case {
    const char* name;
    std::vector<float> samples;
    std::string why;
  };
  const std::vector<Case> cases = {
      {"an English word", padded(soundResource("en-US-dog", kRate)), ""},
      {"a Portuguese word", padded(soundResource("pt-PT-computador", kRate)), ""},
      {"silence", std::vector<float>(3 * kRate, 0.0f), "no speech was heard in the recording"},
      {"room noise", noise(3, kRate, 0.01), "no speech was heard in the recording"},
      {"a steady tone", padded(tone), "no speech was heard in the recording"},
      {"a burst of hiss", padded(noise(1, kRate, 0.1)), "no speech was heard in the recording"},
      {"many words",
       padded(joined(
           {"en-US-computer", "en-US-dog", "en-US-paper", "en-US-purple", "en-US-table",
            "pt-PT-cadeira", "pt-PT-computador", "pt-PT-livro", "pt-PT-mesa", "pt-PT-telefone"},
           kRate, 0.1)),
       "the recording holds more speech than one word"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    expectVerdict(EvidenceJudges::judge("read_text", {{"success", true}, {"text", "dog"}},
                                        recording(c.samples, kRate)),
                  c.why);
  }
}

TEST_F(EvidenceJudgesTest, TheWordHeardIsAnOpinionBesideTheVerdict) {
  constexpr int kRate = 12000;
  auto said = [&](const std::string& name) {
    const auto sound = soundResource(name, kRate);
    return recording(over(noise(sound.size() / double(kRate) + 1.2, kRate, 0.002), sound, 0.6, 0.8,
                          kRate, false),
                     kRate, name + ".m4a");
  };
  const auto dog = said("en-US-dog");
  const auto computer = said("en-US-computer");
  const auto mesa = said("pt-PT-mesa");
  auto judged = [](const std::filesystem::path& path, const nlohmann::json& result) {
    const Verdict verdict = EvidenceJudges::judge("read_text", result, path);
    EXPECT_EQ(verdict.verdict, "pass") << verdict.why;
    return verdict.details;
  };
  const bool built = WordRecogniser::built();
  // Shown words are matched whatever their case.
  for (const auto& [path, shown, heard, opinion] : {std::tuple{dog, "dog", "dog", "pass"},
                                                    {computer, "Computer", "computer", "pass"},
                                                    {dog, "table", "dog", "fail"}}) {
    SCOPED_TRACE(shown);
    const auto word = judged(path, {{"text", shown}})["word"];
    if (!built) {
      EXPECT_EQ(word["verdict"], "unknown");
      continue;
    }
    EXPECT_EQ(word.value("heard", ""), heard);
    EXPECT_EQ(word["verdict"], opinion);
  }
  EXPECT_EQ(judged(mesa, {{"text", "mesa"}})["word"]["verdict"], "unknown");
  EXPECT_EQ(judged(dog, {{"text", "cat"}})["word"]["verdict"], "unknown");
  EXPECT_FALSE(judged(dog, {{"text", 7}}).contains("word"));
}

TEST_F(EvidenceJudgesTest, RecordingsThatCannotBePlayedFail) {
  tree.write("garbage.m4a", std::string(5000, 'x'));
  for (const char* key : {"speaker_recording", "read_text"}) {
    const Verdict verdict = EvidenceJudges::judge(key, {}, tree.path() / "garbage.m4a");
    EXPECT_EQ(verdict.verdict, "fail");
    EXPECT_EQ(verdict.why, "the recording cannot be played");
  }
}

}  // namespace
}  // namespace quorvel::testing
