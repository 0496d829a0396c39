#include <gtest/gtest.h>

#include <utility>

#include "quorvel/ui/AlertController.h"
#include "quorvel/ui/LoadingView.h"
#include "quorvel/ui/NavigationController.h"
#include "quorvel/ui/PanGestureRecognizer.h"
#include "quorvel/ui/TapGestureRecognizer.h"
#include "support/ScriptedFingers.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;
using quorvel::testing::ScriptedFingers;

class RecordingScreen : public ViewController {
 public:
  RecordingScreen(std::string name, std::vector<std::string>& events)
      : ViewController(name), events_(events) {}
  void viewDidLoad() override { events_.push_back(interfaceName() + " load"); }
  void viewWillAppear(bool animated) override {
    events_.push_back(interfaceName() + " appear" + (animated ? " animated" : ""));
  }
  void viewWillDisappear(bool) override { events_.push_back(interfaceName() + " disappear"); }

 private:
  std::vector<std::string>& events_;
};

using NavigationTest = quorvel::testing::SdkFixture;

TEST_F(NavigationTest, StackCallsTheLifecycleOfTheScreensItShowsAndHides) {
  std::vector<std::string> events;
  auto a = std::make_shared<RecordingScreen>("A", events);
  auto b = std::make_shared<RecordingScreen>("B", events);
  auto c = std::make_shared<RecordingScreen>("C", events);
  auto navigation = NavigationController::make(a);
  navigation->pushViewController(b, true);
  navigation->pushViewController(c, true);
  EXPECT_EQ(navigation->popToViewController(*a, false).size(), 2u);
  EXPECT_FALSE(c->navigationController());
  EXPECT_EQ(events, (std::vector<std::string>{"A load", "A appear", "A disappear", "B load",
                                              "B appear animated", "B disappear", "C load",
                                              "C appear animated", "C disappear", "A appear"}));
  // Popping to a screen that is not on the stack changes nothing.
  navigation->pushViewController(b, false);
  EXPECT_TRUE(navigation->popToViewController(*c, false).empty());
  EXPECT_EQ(navigation->viewControllers().size(), 2u);
}

// Holds its outlets as the SDK's screens do.
class HandleScreen : public ViewController {
 public:
  HandleScreen() : ViewController("HandleScreen") {}
  Outlet<Label> title{*this, "uiLbTitle"};
  Outlet<Label> sameTitle{*this, "uiLbTitle"};
};

TEST_F(NavigationTest, OutletHandleIsTheNamedElementAndOnlyItsMutableAccessIsAChange) {
  auto screen = std::make_shared<HandleScreen>();
  int notified = 0;
  screen->addObserver([&] { ++notified; });
  const Outlet<Label>& title = screen->title;
  EXPECT_EQ(&*title, &std::as_const(*screen).outlet<Label>("uiLbTitle"));
  EXPECT_EQ(title->text, "");
  settle();
  EXPECT_EQ(notified, 0) << "reading is no change";
  screen->title->text = "Title";
  settle();
  EXPECT_EQ(notified, 1);
  // A second handle on the name shares the element rather than replacing it under the first.
  EXPECT_EQ(&*std::as_const(screen->sameTitle), &*title);
  // A name of another kind, or none at all, is a programming error.
  EXPECT_DEATH(Outlet<Button>(*screen, "uiLbTitle"), "uiLbTitle is a Label");
  EXPECT_DEATH(screen->outlet<Label>("uiLbMissing"), "has no outlet uiLbMissing");

  // Changes are heard once per main-queue turn, and not by a screen gone before the turn.
  screen->outlet<View>("view").hidden = true;
  screen->outlet<View>("view").alpha = 0.5;
  EXPECT_EQ(notified, 1);
  settle();
  EXPECT_EQ(notified, 2);
  screen->outlet<View>("view").alpha = 1;
  screen.reset();
  settle();
  EXPECT_EQ(notified, 2);
}

TEST_F(NavigationTest, AlertDismissesBeforeItsHandlerRunsAndRefusesASecondPresentation) {
  auto screen = std::make_shared<ViewController>("Screen");
  auto alert = AlertController::make("Title", "Message");
  bool presentedDuringHandler = true;
  alert->addAction({"OK", AlertActionStyle::standard, [&] {
                      presentedDuringHandler = screen->presentedViewController() != nullptr;
                    }});
  screen->present(alert, true);
  screen->present(AlertController::make("Other", ""), true);
  EXPECT_EQ(screen->presentedViewController(), alert);
  EXPECT_TRUE(alert->sendAction("action0"));
  EXPECT_FALSE(presentedDuringHandler);
  EXPECT_EQ(screen->snapshot()["presented"], nullptr);
}

TEST_F(NavigationTest, LoadingViewFadesThenLeavesItsWindowUnlessShownAgain) {
  hostWithPlainScreen();
  auto overlay = std::make_shared<LoadingView>();
  overlay->show(window);
  EXPECT_EQ(window->overlays().size(), 1u);
  overlay->fadeOutAndRemove(0.1);
  EXPECT_EQ(overlay->alpha(), 0);
  env.queue->advance(0.05);
  overlay->show(window);  // shown again mid-fade: the pending removal is dropped
  env.queue->advance(1);
  EXPECT_TRUE(overlay->isShown());
  EXPECT_EQ(overlay->alpha(), 1);
  overlay->fadeOutAndRemove(0.1);
  env.queue->advance(0.1);
  EXPECT_FALSE(overlay->isShown());
  EXPECT_TRUE(window->overlays().empty());
}

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
