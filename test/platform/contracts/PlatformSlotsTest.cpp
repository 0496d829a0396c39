#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/PlatformSlots.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

TEST(PlatformSlots, EveryPortIsFilledExceptThoseThatNeedAFrontEnd) {
  // A port added to the list without an adapter in the default platform shows up here. The photo
  // picker, sound, camera and movie playback need a front end (the Qt one fills them, see the Qt
  // suite).
  const std::vector<std::string> withoutFrontEnd = {"imagePicker", "audioPlayer", "audioRecorder",
                                                    "camera", "videoPlayback"};
  EXPECT_EQ(emptySlots(makeDefaultPlatform()), withoutFrontEnd);
  installPlatform(Platform{});
  EXPECT_EQ(emptySlots(platform()), withoutFrontEnd);
  // The test platform scripts what it must and leaves the rest to the default adapters.
  TestPlatform scripted;
  scripted.install();
  EXPECT_EQ(emptySlots(platform()), std::vector<std::string>{});
  EXPECT_EQ(platform().mainQueue, scripted.queue);
  installPlatform(Platform{});
}

}  // namespace
}  // namespace quorvel::testing
