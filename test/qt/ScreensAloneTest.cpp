// The first-generation screens that no run holds any more (the first video test, the word and
// recording tests), each shown alone and driven by the library's autopilot through the virtual
// devices, with real sound in the room and real uploads to the reference assets server.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

#include "AssetsServer.h"
#include "QuickFixture.h"
#include "backend/AssetUploaderWebService.h"
#include "device/DeviceInfoHelper.h"
#include "quorvel/virtual/Autopilot.h"
#include "quorvel/virtual/VirtualRoom.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "run/ScreenTable.h"
#include "support/JsonText.h"
#include "support/MovieProbe.h"
#include "support/RecordingTestDelegate.h"
#include "support/SoundDecoder.h"

namespace quorvel::testing {
namespace {

// Loudness every 50 ms.
std::vector<double> envelope(const std::vector<std::int16_t>& samples, int rate) {
  std::vector<double> levels;
  for (double at = 0; at + 0.05 <= static_cast<double>(samples.size()) / rate; at += 0.05) {
    levels.push_back(loudness(samples, rate, at, at + 0.05));
  }
  return levels;
}

// How well b follows a (Pearson) at the best shift of b's start within half a second.
double followsBest(const std::vector<double>& a, const std::vector<double>& b) {
  double best = -1;
  for (std::size_t shift = 0; shift <= 10 && shift < b.size(); ++shift) {
    const std::size_t n = std::min(a.size(), b.size() - shift);
    std::vector<double> x(a.begin(), a.begin() + n), y(b.begin() + shift, b.begin() + shift + n);
    for (auto* values : {&x, &y}) {
      const double mean = std::accumulate(values->begin(), values->end(), 0.0) / n;
      for (double& value : *values) value -= mean;
    }
    const double xy = std::inner_product(x.begin(), x.end(), y.begin(), 0.0);
    const double xx = std::inner_product(x.begin(), x.end(), x.begin(), 0.0);
    const double yy = std::inner_product(y.begin(), y.end(), y.begin(), 0.0);
    if (xx > 0 && yy > 0) best = std::max(best, xy / std::sqrt(xx * yy));
  }
  return best;
}

class ScreensAloneTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    useAssetsHost("http://127.0.0.1:" + std::to_string(server.start()));
  }

  // Shows the screen of key alone, as the only screen of a run in language, and lets the
  // autopilot drive it to its report.
  RecordingTestDelegate::Report drive(const std::string& key, SupportedLanguage language) {
    sdk.language = language;
    // One autopilot for the test: it puts its devices into the platform once, before the
    // screen's context takes the ports.
    if (!autopilot) {
      autopilot = std::make_unique<Autopilot>(*frontEnd);
      QObject::connect(autopilot.get(), &Autopilot::stuck,
                       [this](const QString& what) { stuck = what; });
    }
    ScreenContext context = contextFor(key);
    context.multipleTestsList = {"buttons_v2", "charging_v2"};
    context.uploader = std::make_shared<AssetUploaderWebService>(
        platform(), Environment::production, "alone-app", "alone-key", false);
    context.deviceInfoSHA256 =
        jsonDigest(DeviceInfoHelper::getDeviceInfo(*platform().device, *platform().hostBundle, {}));
    stuck.clear();
    auto delegate = std::make_shared<RecordingTestDelegate>();
    auto screen = ScreenTable::makeScreen(key, context, delegate);
    EXPECT_NE(screen, nullptr) << key;
    if (!screen) return {};
    hostNavigation->pushViewController(screen, false);
    // A film takes its seconds, and a loaded machine stretches them.
    EXPECT_TRUE(waitFor([&] { return !delegate->reports.empty() || !stuck.isEmpty(); }, 120000))
        << key;
    EXPECT_TRUE(stuck.isEmpty()) << key << ": " << stuck.toStdString();
    if (delegate->reports.empty()) return {};
    return delegate->reports.front();
  }

  TemporaryTree storage{"quorvel-alone-uploads"};
  AssetsServer server{{storage.path() / "assets", {"alone-key"}}};
  std::unique_ptr<Autopilot> autopilot;
  QString stuck;
};

TEST_F(ScreensAloneTest, FirstVideoTestReadsItsStartCodeBackFromTheMirrorAndVibratesForEachCode) {
  const auto report = drive("device_front_video_v1", SupportedLanguage::english);
  ASSERT_FALSE(report.cancelled);
  EXPECT_EQ(report.result["success"], true) << report.result.dump();
  // The start code and the end code were each felt as they were read.
  EXPECT_EQ(autopilot->vibrations(), 2);
}

TEST_F(ScreensAloneTest, SoundScreensPassWithRealSoundInBothLanguages) {
  const auto clip = VirtualSpeaker::assetSamples("testfile");
  ASSERT_TRUE(clip);
  for (const auto language : {SupportedLanguage::english, SupportedLanguage::portuguese}) {
    for (const char* key :
         {"loudspeaker_v1", "earspeaker_v1", "speaker_recording_v1", "read_text_v1"}) {
      const auto report = drive(key, language);
      const Dictionary& result = report.result;
      // A word test passes when the person typed the word played; which words are played is the
      // core's.
      ASSERT_EQ(result.value("success", false), true) << key << " " << result.dump();
      hostNavigation->popToRootViewController(false);
      settle("HostTestPage");
      if (!result.contains("url")) continue;
      const std::string url = result["url"];
      const std::string recording =
          (server.storage() / "alone-app" / url.substr(url.rfind('/') + 1)).string();
      // A real recording: AAC, 12,000 Hz, one channel, of what was played or said.
      const auto movie = probeMovie(recording);
      ASSERT_TRUE(movie && movie->first("aac")) << key;
      EXPECT_EQ(movie->first("aac")->sampleRate, 12000);
      const auto heard = SoundDecoder::decodeFile(recording, 12000);
      ASSERT_TRUE(heard);
      if (std::string(key) == "speaker_recording_v1") {
        const double expected = static_cast<double>(clip->size()) / VirtualRoom::kSampleRate;
        // The clip whole; the recording stops once the player says the sound is over, which a
        // player without a sound device may say late on a busy machine (seen: 1.2 s).
        EXPECT_GE(movie->first("aac")->seconds, expected * 0.95);
        EXPECT_LE(movie->first("aac")->seconds, expected + 3.0);
        const auto played = SoundDecoder::decodeFile(recording, VirtualRoom::kSampleRate);
        EXPECT_GT(followsBest(envelope(*clip, VirtualRoom::kSampleRate),
                              envelope(*played, VirtualRoom::kSampleRate)),
                  0.8)
            << "the recording does not follow the clip";
      } else {
        const auto levels = envelope(*heard, 12000);
        EXPECT_GT(*std::max_element(levels.begin(), levels.end()), 0.05) << "a silent recording";
      }
    }
  }
}

}  // namespace
}  // namespace quorvel::testing
