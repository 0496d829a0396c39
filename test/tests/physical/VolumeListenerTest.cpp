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

TEST_F(VolumeListenerTest, PassesOnOnlyKeyPressesWithTheNewLevelAlsoAtTheEnds) {
  hostWithNavigation();
  VolumeListener listener;
  listener.setup();
  env.volume.systemChange(0.25f);  // another app's change
  env.volume.systemChange(0.9375f);
  env.volume.pressUp();
  env.volume.pressUp();  // already at the top: still reported
  EXPECT_EQ(posted, (std::vector<Dictionary>{{{"volume", 1.0}}, {{"volume", 1.0}}}));

  posted.clear();
  env.volume.systemChange(0.1f);
  env.volume.pressDown();
  ASSERT_EQ(posted.size(), 1u);
  EXPECT_EQ(posted[0].size(), 1u);
  EXPECT_EQ(posted[0].at("volume").get<float>(), 0.1f - 0.0625f);
}

TEST_F(VolumeListenerTest, SetUpWithoutAWindowOrRootScreenListensToNothing) {
  for (bool withWindow : {false, true}) {
    if (withWindow) env.application->makeKeyWindow(std::make_shared<Window>());
    VolumeListener listener;
    listener.setup();
    env.volume.pressUp();
  }
  EXPECT_TRUE(posted.empty());
}

TEST_F(VolumeListenerTest, EachSetUpAddsARegistrationUntilTheListenerGoes) {
  hostWithNavigation();
  {
    VolumeListener listener;
    listener.setup();
    listener.setup();
    env.volume.pressDown();
    EXPECT_EQ(posted.size(), 2u);
  }
  env.volume.pressDown();
  EXPECT_EQ(posted.size(), 2u);
}

}  // namespace
