#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvel/ScreenType.h"
#include "quorvel/ui/AlertController.h"
#include "run/ScreenTable.h"
#include "support/TestScreenFixture.h"
#include "tests/audio/HeardWordViewController.h"
#include "tests/video/DeviceFrontVideoViewController.h"

namespace quorvel::testing {
namespace {

// Every test screen, walked through its steps as a person goes, with each port that can fail
// failing in turn. In every state a screen comes to rest in, it has either reported its result
// (and the run goes on) or it offers the person a way to end the test as failed; and that way
// ends it as failed, never as cancelled, which would throw the whole run's results away.

struct Failure {
  const char* name;
  std::function<void(TestPlatform&)> apply;
};

const Failure kFailures[] = {
    {"nothing fails", [](TestPlatform&) {}},
    {"the camera is missing", [](TestPlatform& p) { p.camera->present = false; }},
    {"recording will not start", [](TestPlatform& p) { p.camera->refusesRecording = true; }},
    {"the recording ends early", [](TestPlatform& p) { p.camera->recordingsFailAfter = 1.0; }},
    {"the export fails", [](TestPlatform& p) { p.mediaExport->fails = true; }},
    {"the upload fails",
     [](TestPlatform& p) {
       p.setAssetsHost("http://127.0.0.1:1"); /* a closed port */
     }},
    {"the player fails", [](TestPlatform& p) { p.sounds->assets.clear(); }},
    {"the recorder fails", [](TestPlatform& p) { p.recorder->canRecord = false; }},
    {"the sound recording stops early", [](TestPlatform& p) { p.recorder->failsAfter = 0.5; }},
    {"recording is not permitted", [](TestPlatform& p) { p.recorder->permission = false; }},
    {"the movie cannot be shown", [](TestPlatform& p) { p.videoPlayer->fails = true; }},
};

class WayOutWalk;

// What a person does next on a screen; false when the screen does not offer it.
struct Step {
  const char* what;
  std::function<bool(WayOutWalk&)> act;
};

class WayOutWalk : public TestScreenFixture {
 public:
  using SdkFixture::env;
  using SdkFixture::overlayShown;
  using SdkFixture::settle;

  // A fresh process on a platform where failure holds, under the host's navigation, with the
  // screens uploading to the reference assets server.
  void freshHost(const Failure& failure) {
    restart();
    serveAssets();
    env.device->battery = BatteryState::unplugged;
    failure.apply(env);
  }

  // The screen for key on a fresh platform where failure holds, resting after its first steps.
  void show(const std::string& key, const Failure& failure) {
    freshHost(failure);
    context.multipleTestsList = {"buttons_v2", "charging_v2"};
    screen = showKey(key);
    ASSERT_TRUE(screen) << key;
    rest();
  }

  // Time passes until nothing more happens by itself: timed steps end, uploads answer.
  void rest() {
    for (int round = 0; round < 3; ++round) {
      env.queue->advance(10.0);
      waitUntil([&] { return !overlayShown() || !delegate->reports.empty(); });
    }
  }

  std::shared_ptr<AlertController> alert() const { return alertOn(screen); }

  // A button the person can see and press: shown, enabled, opaque, in a shown container, under
  // no overlay or alert, and not behind the video screens' full-screen colours.
  bool offered(const std::string& button) const {
    if (!screen->hasOutlet(button) || overlayShown() || alert()) return false;
    const auto& element = screen->outlet<Element>(button);
    if (element.hidden || element.alpha <= 0) return false;
    if (auto* pressable = dynamic_cast<const Button*>(&element); pressable && !pressable->enabled) {
      return false;
    }
    if (screen->hasOutlet("uiColorsView") && !screen->outlet<View>("uiColorsView").hidden) {
      return false;
    }
    auto container = kContainers.find(button);
    return container == kContainers.end() || !screen->hasOutlet(container->second) ||
           !screen->outlet<View>(container->second).hidden;
  }
  bool tap(const std::string& button, const std::string& action) {
    if (!offered(button)) return false;
    screen->sendAction(action);
    settle();
    return true;
  }
  bool tap(const std::string& button) { return tap(button, button + "_TouchUpInside"); }
  // The first of buttons the person can press, or null.
  const char* firstOffered(std::initializer_list<const char*> buttons) const {
    auto way = std::ranges::find_if(buttons, [&](const char* button) { return offered(button); });
    return way == buttons.end() ? nullptr : *way;
  }

  // The informational alerts have one button; the last one closes any alert.
  void closeAlerts() {
    for (auto shown = alert(); shown; shown = alert()) {
      shown->performAction(shown->actions().size() - 1);
      settle();
    }
  }

  // The view that holds a button, where it is not the screen itself.
  inline static const std::map<std::string, std::string> kContainers = {
      {"uiBtCouldntCompleteTest", "uiInitialView"},
      {"uiBtNext", "uiInitialView"},
      {"uiBtStartRecording", "uiInitialView"},
      {"uiBtVideoReviewCouldntComplete", "uiVideoView"},
      {"uiBtVideoReviewNext", "uiVideoView"},
      {"uiCheckBoxTerms", "uiVideoView"}};

  std::shared_ptr<TestViewController> screen;

 protected:
  void TearDown() override {
    screen.reset();
    TestScreenFixture::TearDown();
  }
};

std::shared_ptr<DeviceFrontVideoViewController> film(WayOutWalk& walk) {
  return std::dynamic_pointer_cast<DeviceFrontVideoViewController>(walk.screen);
}

const Step kNext{"presses Next", [](WayOutWalk& w) { return w.tap("uiBtNext"); }};
const Step kUp{"presses volume up", [](WayOutWalk& w) { return w.env.volume.pressUp(), true; }};
const Step kDown{"presses volume down",
                 [](WayOutWalk& w) { return w.env.volume.pressDown(), true; }};
const Step kSendFilm{"sends the film", [](WayOutWalk& w) {
                       return w.tap("uiBtVideoReviewNext", "uiBtVideoReviewNext_TouchUpInsde");
                     }};
const Step kCharger{"plugs the charger", [](WayOutWalk& w) {
                      return w.env.device->setBattery(BatteryState::charging), true;
                    }};

// The heard-word tests: play, type the word heard, Next.
std::vector<Step> heardWordSteps() {
  return {{"plays the word", [](WayOutWalk& w) { return w.tap("uiBtPlay"); }},
          {"types the word",
           [](WayOutWalk& w) {
             auto screen = std::dynamic_pointer_cast<HeardWordViewController>(w.screen);
             if (w.overlayShown() || w.alert()) return false;
             screen->textFieldDidChange("uiTfWord", screen->word());
             screen->sendAction("uiTfWord_EditingDidEnd");
             w.settle();
             return true;
           }},
          kNext};
}

// Each screen's steps, as a person who wants to pass goes through them.
const std::map<std::string, std::vector<Step>>& scripts() {
  static const std::map<std::string, std::vector<Step>> table = {
      {ScreenType::buttons_v1, {kUp, kDown}},
      {ScreenType::charging_v1, {kCharger, kNext}},
      {ScreenType::multiple_tests_v2, {kCharger, kUp, kDown, kNext}},
      {ScreenType::multi_touch_v1, {}},
      {ScreenType::multi_touch_v2, {}},
      {ScreenType::device_front_video_v1,
       {kNext,
        {"shows the start code to the mirror",
         [](WayOutWalk& w) { return w.env.camera->sees({film(w)->startQRCode()}); }},
        {"shows the end code to the mirror",
         [](WayOutWalk& w) { return w.env.camera->sees({film(w)->endQRCode()}); }},
        {"plays the film", [](WayOutWalk& w) { return w.tap("uiBtPlayVideo"); }},
        kSendFilm}},
      {ScreenType::device_front_video_v2,
       {kNext,
        {"starts recording", [](WayOutWalk& w) { return w.tap("uiBtStartRecording"); }},
        {"ticks the box", [](WayOutWalk& w) { return w.tap("uiCheckBoxTerms"); }},
        kSendFilm}},
      {ScreenType::loudspeaker_v1, heardWordSteps()},
      {ScreenType::earspeaker_v1, heardWordSteps()},
      {ScreenType::speaker_recording_v1,
       {{"starts the test", [](WayOutWalk& w) { return w.tap("uiBtStartTest"); }}}},
      {ScreenType::read_text_v1,
       {{"starts recording", [](WayOutWalk& w) { return w.tap("uiBtRecord"); }},
        {"stops recording", [](WayOutWalk& w) { return w.tap("uiBtRecord"); }},
        {"listens to it", [](WayOutWalk& w) { return w.tap("uiBtPlay"); }},
        kNext}},
  };
  return table;
}

TEST_F(WayOutWalk, EveryScreenInEveryStateWithAnyFailingPortLetsThePersonFinishAsFailed) {
  for (const std::string& key : ScreenTable::keys()) {
    ASSERT_TRUE(scripts().count(key)) << "no steps for " << key << ": add them here";
    const std::vector<Step>& steps = scripts().at(key);
    for (const Failure& failure : kFailures) {
      // The person stops after `taken` steps and looks for the way out.
      for (std::size_t taken = 0; taken <= steps.size(); ++taken) {
        SCOPED_TRACE(key + ", " + failure.name + ", after " +
                     (taken ? steps[taken - 1].what : "showing"));
        show(key, failure);
        bool reached = true;
        for (std::size_t i = 0; i < taken && reached && delegate->reports.empty(); ++i) {
          reached = steps[i].act(*this);
          rest();
        }
        // A step the screen did not offer: the person never gets further on this path.
        if (!reached) break;
        if (!delegate->reports.empty()) {
          EXPECT_FALSE(onlyReport().cancelled) << "the run's results were lost";
          break;  // the screen ended the test itself, and the run goes on
        }
        // The buttons test gives up one phase a press, the combined test one row a press and
        // then sends what it has by Next.
        for (int press = 0; press < 6 && delegate->reports.empty(); ++press) {
          closeAlerts();
          const char* way =
              firstOffered({"uiBtCouldntCompleteTest", "uiBtVideoReviewCouldntComplete"});
          if (!way && key == ScreenType::multiple_tests_v2 && offered("uiBtNext")) way = "uiBtNext";
          ASSERT_TRUE(way) << "a dead end: only Cancel is left\n" << screen->snapshot().dump();
          ASSERT_TRUE(tap(way));
          rest();
        }
        EXPECT_FALSE(onlyReport().cancelled);
        // A test of several parts (the buttons test) reports each part's success instead.
        EXPECT_EQ(onlyReport().result.value("success", false), false);
      }
    }
  }
}

// The run's own screens too: the start, the identifiers, the end, the retry alert. Whatever fails,
// a person who never cancels reaches the host's answer, and it is not the cancelled one.
TEST_F(WayOutWalk, EveryRunWithAnyFailingPortReachesTheHostsAnswerWithoutCancelling) {
  for (const Failure& failure : kFailures) {
    SCOPED_TRACE(failure.name);
    freshHost(failure);
    start();
    std::string path;
    for (int move = 0; move < 40 && outcome->calls == 0; ++move) {
      env.queue->advance(10.0);
      waitUntil([&] { return !overlayShown(); });
      if (auto shown = alertOn()) {  // the last choice goes on: "Try later", or the only button
        shown->performAction(shown->actions().size() - 1);
        settle();
        continue;
      }
      if (overlayShown()) continue;
      const std::string name = topInterface();
      path += name + " ";
      if (name == "StartViewController") {
        press("uiBtNext_TouchUpInside");
      } else if (name == "IMEIViewController") {
        top()->textFieldDidChange("uiTfIMEI", kValidIMEI);
        press("uiBtNext_TouchUpInside");
      } else if (name == "TestsFinishedViewController") {
        press("uiBtDone_TouchUpInside");
      } else {
        screen = std::dynamic_pointer_cast<TestViewController>(top());
        ASSERT_TRUE(screen) << "an unknown screen: " << name;
        closeAlerts();
        const char* way =
            firstOffered({"uiBtCouldntCompleteTest", "uiBtVideoReviewCouldntComplete", "uiBtNext"});
        ASSERT_TRUE(way) << "a dead end on " << name << "\n" << screen->snapshot().dump();
        ASSERT_TRUE(tap(way));
      }
    }
    ASSERT_EQ(outcome->calls, 1) << "no answer for the host after " << path;
    EXPECT_NE(outcome->response.value_or(Dictionary{}).value("status_code", 0), 301) << path;
  }
}

}  // namespace
}  // namespace quorvel::testing
