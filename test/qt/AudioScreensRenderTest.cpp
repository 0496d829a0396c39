// The sound screens drawn offscreen and driven through the window: the copy and colours the core
// holds, a word typed on the keyboard reaching the core and ending in Next, and the play button
// showing while it plays (the record button and its review are the accessibility walk's).
#include <QTest>

#include "QuickFixture.h"
#include "quorvel/ScreenType.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "tests/audio/Earspeaker_v1_ViewController.h"
#include "tests/audio/Loudspeaker_v1_ViewController.h"
#include "tests/audio/SpeakerRecording_v1_ViewController.h"

namespace quorvel::testing {
namespace {

class AudioScreensRenderTest : public QuickFixture {
 protected:
  void SetUp() override {
    QuickFixture::SetUp();
    // Recording needs a microphone: the room's, whatever this machine has.
    Platform withRoom = platform();
    withRoom.audioRecorder =
        std::make_shared<VirtualAudioRecorder>(std::make_shared<VirtualRoom>(), withRoom.mainQueue);
    installPlatform(withRoom);
  }
};

TEST_F(AudioScreensRenderTest, EveryScreenShowsTheCopyAndColoursTheCoreHolds) {
  show<SpeakerRecording_v1_ViewController>(ScreenType::speaker_recording_v1);
  expectCoreCopy(*hostNavigation->topViewController(),
                 {"uiLbTitle", "uiLbDescription", "uiBtStartTest", "uiBtCouldntCompleteTest"});
  expectCoreColours();
  grab("SpeakerRecording_v1");
  auto earpiece = show<Earspeaker_v1_ViewController>(ScreenType::earspeaker_v1);
  expectCoreCopy(*earpiece, {"uiLbTitle", "uiLbDescription", "uiBtChangeWord"});
  expectCoreColours();
  grab("Earspeaker_v1");
}

TEST_F(AudioScreensRenderTest, AWordTypedOnTheKeyboardEndsInNextAndPlayShowsWhilePlaying) {
  auto screen = show<Loudspeaker_v1_ViewController>(ScreenType::loudspeaker_v1);
  const QColor idle = colorAt("uiBtPlay", QPointF(0, 40));
  tap("uiBtPlay");
  ASSERT_TRUE(waitFor([&] { return screen->isPlaying(); }));
  QTest::qWait(50);
  EXPECT_NE(colorAt("uiBtPlay", QPointF(0, 40)), idle) << "playing looks like idle";
  VirtualKeyboard keyboard(frontEnd->window());
  tap("uiTfWord");
  keyboard.type(" Word");
  keyboard.pressKey(Qt::Key_Return);
  ASSERT_TRUE(waitFor([&] { return !screen->outlet<Button>("uiBtNext").hidden; }));
  EXPECT_EQ(screen->outlet<TextField>("uiTfWord").text, " Word");
  ASSERT_TRUE(waitFor([&] { return frontEnd->findItem("uiBtNext") != nullptr; }));
  grab("Loudspeaker_v1-typed");
}

}  // namespace
}  // namespace quorvel::testing
