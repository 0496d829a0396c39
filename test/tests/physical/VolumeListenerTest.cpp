#include <gtest/gtest.h>

#include "support/NotificationCenter.h"
#include "support/SdkFixture.h"
#include "tests/physical/VolumeListener.h"

namespace {

using namespace quorvel;

class VolumeListenerTest : public quorvel::testing::SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    heard = NotificationCenter::defaultCenter().addObserver(
        VolumeListener::volumeDidChangeNotification,
        [this](const Notification& n) { posted.push_back(n.userInfo); });
  }

  std::vector<Dictionary> posted;
  Subscription heard;
};

TEST_F(VolumeListenerTest, PassesOnKeyPressesAlsoAtTheEndsOncePerSetUpUntilItGoes) {
  {
    VolumeListener withoutRootScreen(platform());  // nothing to listen through yet
    withoutRootScreen.setup();
    env.volume.pressUp();
  }
  hostWithNavigation();
  {
    VolumeListener listener(platform());
    listener.setup();
    env.volume.systemChange(0.9375f);  // another app's change
    env.volume.pressUp();
    env.volume.pressUp();  // already at the top: still reported
    EXPECT_EQ(posted, (std::vector<Dictionary>{{{"volume", 1.0}}, {{"volume", 1.0}}}));
    // Each set-up adds a registration.
    listener.setup();
    env.volume.pressDown();
    EXPECT_EQ(posted.size(), 4u);
  }
  env.volume.pressDown();
  EXPECT_EQ(posted.size(), 4u);
}

}  // namespace
