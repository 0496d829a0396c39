#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/TestPlatform.h"

namespace quorvel::testing {
namespace {

// The names of the slots of p that hold nothing, from the one list of ports.
std::vector<std::string> emptySlots(const Platform& p) {
  std::vector<std::string> empty;
#define QUORVEL_EMPTY_SLOT(Type, name) \
  if (!p.name) empty.push_back(#name);
  QUORVEL_PORTS(QUORVEL_EMPTY_SLOT)
#undef QUORVEL_EMPTY_SLOT
  return empty;
}

TEST(PlatformSlots, EveryPortIsFilledExceptThePhotoPickerAndTheMediaPortsWithoutAdapters) {
  // A port added to the list without an adapter in the default platform shows up here.
  const std::vector<std::string> media = {"audioPlayer", "camera", "mediaExport", "videoPlayback"};
  std::vector<std::string> withoutFrontEnd = {"imagePicker"};
  withoutFrontEnd.insert(withoutFrontEnd.end(), media.begin(), media.end());
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
