#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/AbsentPorts.h"
#include "support/PlatformSlots.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

TEST(PlatformSlots, EveryPortIsFilledOnceInstalledAndThoseAMachineLacksAnswerNo) {
  // A port added to the list without an adapter in the default platform shows up here. The photo
  // picker, sound, the camera and movie playback need a front end (the Qt one fills them, see the
  // Qt suite).
  const std::vector<std::string> withoutFrontEnd = {"imagePicker", "audioPlayer", "audioRecorder",
                                                    "camera", "videoPlayback"};
  EXPECT_EQ(emptySlots(makeDefaultPlatform()), withoutFrontEnd);
  TestPlatform scripted;
  Platform bare;
  bare.mainQueue = scripted.queue;
  bare.log = scripted.log;
  installPlatform(bare);
  const Platform& p = platform();
  EXPECT_EQ(emptySlots(p), std::vector<std::string>{});

  // Each absent port answers "no" as its interface allows, on a later turn of the queue.
  EXPECT_FALSE(p.imagePicker->available());
  EXPECT_EQ(p.camera->startScanning([](const std::vector<std::string>&) {}), nullptr);
  EXPECT_EQ(p.camera->startCapture(true), nullptr);
  EXPECT_EQ(p.audioRecorder->record("/tmp/never.m4a", {}, [](bool) { ADD_FAILURE(); }), nullptr);
  std::vector<std::string> answers;
  p.imagePicker->pickImage(true, [&](std::optional<Image> image) {
    answers.push_back(image ? "picked" : "no picture");
  });
  p.audioPlayer->playAsset("beep",
                           [&](bool played) { answers.push_back(played ? "played" : "no sound"); });
  p.audioRecorder->requestRecordPermission(
      [&](bool granted) { answers.push_back(granted ? "granted" : "no recording"); });
  p.videoPlayback->play("/tmp/none.mov",
                        [&](const std::string& problem) { answers.push_back(problem); });
  EXPECT_TRUE(answers.empty()) << "answered from inside the call";
  scripted.queue->runUntilIdle();
  EXPECT_EQ(answers, (std::vector<std::string>{"no picture", "no sound", "no recording",
                                               "No movie player"}));
  // What could not be done is in the log, for whoever reads a run's story afterwards.
  std::string logged;
  for (const auto& line : scripted.log->lines()) logged += line + "\n";
  EXPECT_NE(logged.find("No sound player; sound beep cannot be played"), std::string::npos);
  EXPECT_NE(logged.find("No sound recorder; nothing can be recorded"), std::string::npos);
  EXPECT_NE(logged.find("No camera; nothing can be filmed"), std::string::npos);

  // The test platform scripts what it must and leaves the rest to the default adapters.
  scripted.install();
  EXPECT_EQ(emptySlots(platform()), std::vector<std::string>{});
  EXPECT_EQ(platform().mainQueue, scripted.queue);
  installPlatform(Platform{});
  // Without a main queue nothing of the core can run: whoever assembled the ports is told.
  EXPECT_DEATH(withAbsentPortsAnswering(Platform{}), "no mainQueue");
}

}  // namespace
}  // namespace quorvel::testing
