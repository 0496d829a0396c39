#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/PlatformSlots.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

TEST(PlatformSlots, EveryPortIsFilledExceptThePhotoPickerAndTheMediaPortsWithoutAdapters) {
  // A port added to the list without an adapter in the default platform shows up here. The media
  // ports need a front end (the Qt one fills them, see the Qt suite).
  const std::vector<std::string> media = {"audioPlayer", "camera", "mediaExport", "videoPlayback"};
  std::vector<std::string> withoutFrontEnd = {"imagePicker"};
  withoutFrontEnd.insert(withoutFrontEnd.end(), media.begin(), media.end());
  EXPECT_EQ(emptySlots(makeDefaultPlatform()), withoutFrontEnd);
  installPlatform(Platform{});
  EXPECT_EQ(emptySlots(platform()), withoutFrontEnd);
  // The test platform scripts what it must and leaves the rest to the default adapters.
  TestPlatform scripted;
  scripted.install();
  EXPECT_EQ(emptySlots(platform()), media);
  EXPECT_EQ(platform().mainQueue, scripted.queue);
  installPlatform(Platform{});
}

}  // namespace
}  // namespace quorvel::testing
