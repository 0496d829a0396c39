#include <gtest/gtest.h>

#include "quorvel/ui/PanGestureRecognizer.h"
#include "quorvel/ui/TapGestureRecognizer.h"
#include "quorvel/ui/ViewController.h"
#include "support/ScriptedFingers.h"

namespace {

using namespace quorvel;
using quorvel::testing::ScriptedFingers;

struct Sent {
  GestureState state;
  Point location;
};

class GestureRecognizerTest : public ::testing::Test {
 protected:
  template <class Recognizer, class... Args>
  void attach(Args... args) {
    screen->addGestureRecognizer(
        "view", std::make_shared<Recognizer>(args..., [this](GestureRecognizer& sender) {
          sent.push_back({sender.state(), sender.location()});
        }));
  }

  std::shared_ptr<ViewController> screen = std::make_shared<ViewController>("Screen");
  ScriptedFingers fingers{screen, "view"};
  std::vector<Sent> sent;
};

// Finger counts are checked through the multi-touch screens.
TEST_F(GestureRecognizerTest, TapWithoutMovingReportsWhereItEnded) {
  attach<TapGestureRecognizer>(3);
  fingers.down(3, {100, 100});
  fingers.moveTo({100, 130});
  fingers.lift();
  EXPECT_TRUE(sent.empty());

  fingers.tap(3, {150, 200});
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].state, GestureState::ended);
  EXPECT_EQ(sent[0].location, (Point{150, 200}));
  // Recognisers start afresh with the next touch.
  fingers.tap(3);
  EXPECT_EQ(sent.size(), 2u);
}

TEST_F(GestureRecognizerTest, PanIsCancelledByAnExtraFinger) {
  attach<PanGestureRecognizer>(2, 2);
  fingers.down(2, {100, 0});
  fingers.moveTo({100, 50});
  screen->handleTouches("view", TouchPhase::began, {{9, {10, 10}}});
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[1].state, GestureState::cancelled);
}

}  // namespace
