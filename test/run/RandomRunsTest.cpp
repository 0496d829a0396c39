#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <ranges>
#include <set>
#include <sstream>
#include <thread>

#include "backend/AssetUploaderWebService.h"
#include "quorvel/Localization.h"
#include "quorvel/ScreenType.h"
#include "quorvel/platform/HttpClient.h"
#include "quorvel/platform/MainQueue.h"
#include "quorvel/ui/AlertController.h"
#include "run/ScreenTable.h"
#include "support/ScreenReports.h"
#include "support/ScriptedFingers.h"
#include "support/SdkFixture.h"
#include "support/TestImages.h"
#include "tests/video/DeviceFrontVideoViewController.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;

// The seed in progress (even ones with strict uploads), for a run that aborts instead of failing.
volatile std::uint64_t currentSeed = 0;

// The replayed seed's steps so far, said when the run aborts.
const std::vector<std::string>* liveTrace = nullptr;

void saySeed(int) {
  if (liveTrace) {
    for (const auto& line : *liveTrace) std::fprintf(stderr, "  %s\n", line.c_str());
  }
  std::fprintf(stderr, "\nrandom run (strict uploads %s) aborted at QUORVEL_RANDOM_SEED=%llu\n",
               currentSeed % 2 == 0 ? "on" : "off", static_cast<unsigned long long>(currentSeed));
  std::signal(SIGABRT, SIG_DFL);
}

// The assets backend of one random run, as an HTTP client that sends nothing: each request gets
// planned answers (late, doubled, errors, garbage, arrays, objects with or without an address, or
// none), delivered when the run's script says so. Each answer runs on a thread of its own, as a
// real client's completion does, and is over when it returns, so a run replays exactly.
class RandomBackend {
 public:
  // How the backend answers one request.
  enum class Answer { transportError, garbage, array, emptyBody, noUrl, url, never };

  // rng is the run's; note records a line of the run's trace.
  RandomBackend(std::mt19937_64& rng, std::function<void(std::string)> note)
      : rng_(rng), note_(std::move(note)) {}

  // A fresh client for a run with strict uploads or not. With idleTimeouts, a request still
  // unanswered once its time-out has passed on that queue fails as a real client's idle time-out
  // does (nothing ever progresses here), and later answers are dropped; without, it waits for as
  // long as the script likes, as a client that never calls back.
  std::shared_ptr<HttpClient> startRun(bool strict, std::shared_ptr<MainQueue> idleTimeouts) {
    strict_ = strict;
    planned_ = 0;
    confirmed_.clear();
    client_ = std::make_shared<Client>();
    client_->idleTimeouts = std::move(idleTimeouts);
    return client_;
  }

  // Plans the answers of requests sent since the last call; while winding down, one address.
  void planNewRequests(bool windingDown) {
    static const std::vector<Answer> answers = {
        Answer::transportError, Answer::garbage, Answer::array, Answer::emptyBody,
        Answer::noUrl,          Answer::url,     Answer::url,   Answer::never};
    auto pick = [&] {
      return answers[std::uniform_int_distribution<std::size_t>(0, answers.size() - 1)(rng_)];
    };
    for (; planned_ < client_->exchanges.size(); ++planned_) {
      Exchange& plan = *client_->exchanges[planned_];
      if (!windingDown) {
        plan.first = pick();
        if (std::bernoulli_distribution(0.15)(rng_)) plan.second = pick();
      }
      note_("request " + std::to_string(planned_) + " to " + plan.request.url +
            " will get: " + nameOf(plan.first) +
            (plan.second ? std::string(", then ") + nameOf(*plan.second) : ""));
    }
  }

  // Delivers the next planned answer of one request that has one left.
  void answerOne() {
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < planned_; ++i) {
      if (client_->exchanges[i]->delivered < client_->exchanges[i]->wanted()) open.push_back(i);
    }
    if (open.empty()) return;
    deliver(open[std::uniform_int_distribution<std::size_t>(0, open.size() - 1)(rng_)]);
  }
  // Delivers every planned answer left.
  void answerAll() {
    for (std::size_t i = 0; i < planned_; ++i) {
      while (client_->exchanges[i]->delivered < client_->exchanges[i]->wanted()) deliver(i);
    }
  }
  bool allAnswered() const {
    return std::ranges::all_of(client_->exchanges | std::views::take(planned_),
                               [](const auto& plan) { return plan->delivered == plan->wanted(); });
  }
  std::size_t requests() const { return client_ ? client_->exchanges.size() : 0; }

  // Whether a request's answers, by design, leave its screen waiting under the overlay.
  bool holdsRunOpen() const {
    return std::ranges::any_of(client_->exchanges | std::views::take(planned_),
                               [&](const auto& exchange) { return stuck(*exchange); });
  }
  // Whether url was given by an answer the run received with a 2xx status.
  bool confirmed(const std::string& url) const { return confirmed_.count(url) > 0; }

 private:
  // A request, its planned answers and what became of them.
  struct Exchange {
    HttpRequest request;
    HttpCompletion completion;
    Answer first = Answer::url;
    std::optional<Answer> second;  // the client answers twice
    int delivered = 0;             // planned answers given, dropped ones too
    bool answered = false, cancelled = false, timedOut = false;
    int wanted() const { return second ? 2 : 1; }
  };
  class Task : public HttpTask {
   public:
    explicit Task(std::weak_ptr<Exchange> exchange) : exchange_(std::move(exchange)) {}
    void cancel() override {
      if (auto exchange = exchange_.lock()) exchange->cancelled = true;
    }

   private:
    std::weak_ptr<Exchange> exchange_;
  };
  struct Client : HttpClient {
    std::vector<std::shared_ptr<Exchange>> exchanges;
    std::shared_ptr<MainQueue> idleTimeouts;

    std::shared_ptr<HttpTask> send(HttpRequest request, HttpCompletion completion) override {
      auto exchange = std::make_shared<Exchange>();
      exchange->request = std::move(request);
      exchange->completion = std::move(completion);
      exchanges.push_back(exchange);
      if (idleTimeouts) {
        std::chrono::duration<double> timeout = exchange->request.timeout;
        idleTimeouts->asyncAfter(timeout.count(), [weak = std::weak_ptr<Exchange>(exchange)] {
          auto timed = weak.lock();
          if (!timed || timed->answered) return;
          answer(*timed, std::nullopt, "The request timed out.");
          timed->timedOut = true;
        });
      }
      return std::make_shared<Task>(exchange);
    }
  };

  static const char* nameOf(Answer answer) {
    static const char* names[] = {
        "transport error",    "invalid UTF-8",   "JSON array", "empty body",
        "object without url", "object with url", "never"};
    return names[static_cast<int>(answer)];
  }

  // A cancelled request answers with the error a client reports for it, whatever is given; a
  // timed-out one answers no more. False when nothing was delivered.
  static bool answer(Exchange& exchange, std::optional<HttpResponse> response,
                     std::optional<std::string> error) {
    if (exchange.timedOut) return false;
    if (exchange.cancelled) {
      response.reset();
      error = "cancelled";
    }
    exchange.answered = true;
    std::thread([&] { exchange.completion(std::move(response), std::move(error)); }).join();
    return true;
  }

  // Leniently, a request that got no answer, or only invalid UTF-8 (AssetUploaderWebService then
  // never calls back); for the results document also an empty body or one that is no JSON object
  // (the uploader answers with neither response nor error, and RunController::submitResults keeps
  // the run open on that). Strictly, every answer is a success or an error, and the results have
  // their bounded wait: only a photo or recording that no answer reached, from a client that never
  // gives up, waits for good. A client that has given up answered with its error.
  bool stuck(const Exchange& exchange) const {
    if (exchange.timedOut) return false;
    if (exchange.cancelled && exchange.delivered > 0) return false;
    const auto& file = exchange.request.bodyFile;
    const bool results = file && file->path.ends_with("jsonResults.json");
    if (strict_ && results) return false;
    for (int i = 0; i < exchange.delivered; ++i) {
      Answer given = i == 0 ? exchange.first : *exchange.second;
      bool silent =
          given == Answer::never ||
          (!strict_ && (given == Answer::garbage ||
                        (results && (given == Answer::array || given == Answer::emptyBody))));
      if (!silent) return false;
    }
    return true;
  }

  void deliver(std::size_t index) {
    Exchange& exchange = *client_->exchanges[index];
    Answer answer = exchange.delivered == 0 ? exchange.first : *exchange.second;
    ++exchange.delivered;
    note_("answer request " + std::to_string(index) + ": " + nameOf(answer));
    if (answer == Answer::never) return;
    int status = std::bernoulli_distribution(0.8)(rng_) ? 200 : 500;
    // Each address names its request and answer, so the results show which answer they took.
    std::string url = "http://127.0.0.1:1/app/" + std::to_string(index) + "-" +
                      std::to_string(exchange.delivered) + "-" + std::to_string(status) + ".json";
    auto bytes = [](std::string_view text) {
      return std::vector<std::uint8_t>(text.begin(), text.end());
    };
    auto body = [&]() -> std::vector<std::uint8_t> {
      switch (answer) {
        case Answer::garbage:
          return {0x7b, 0xff, 0xfe, 0x7d};
        case Answer::array:
          return bytes("[\"stored\"]");
        case Answer::noUrl:
          return bytes(R"({"filename":"a.json"})");
        case Answer::url:
          return bytes(R"({"filename":"a.json","url":")" + url + "\"}");
        default:
          return {};
      }
    };
    bool cancelled = exchange.cancelled;
    bool delivered =
        answer == Answer::transportError
            ? RandomBackend::answer(exchange, std::nullopt, "Could not connect to server")
            : RandomBackend::answer(exchange, HttpResponse{status, body()}, std::nullopt);
    if (!delivered) note_("  dropped: the client had given up on it");
    if (delivered && !cancelled && answer == Answer::url && status / 100 == 2)
      confirmed_.insert(url);
  }

  std::mt19937_64& rng_;
  std::function<void(std::string)> note_;
  std::shared_ptr<Client> client_;
  std::size_t planned_ = 0;
  std::set<std::string> confirmed_;
  bool strict_ = false;
};

// Whole runs through performTests, each driven by one seed: random arguments, then random presses,
// alerts, typing, device events, time and upload answers until the run ends or the step budget is
// used; then a wind-down (cancel where offered, finish on the end screen, every planned answer
// delivered, time let pass while the overlay waits) and the host's invariants. Even seeds run with
// strict uploads.
class RandomRunsTest : public quorvel::testing::SdkFixture {
 protected:
  std::vector<std::string> runSeed(std::uint64_t seed) {
    currentSeed = seed;
    // A fresh platform, host window and HTTP client. The SDK itself is the process's one instance:
    // a run left open stays as it is (nothing ends it), and the next run's performTests must take
    // its place; its screens are checked to be gone once that run is over.
    restart();
    rng_.seed(seed);
    strict = seed % 2 == 0;
    trace.clear();
    note(std::string("strict uploads ") + (strict ? "on" : "off"));
    screens_.clear();
    reports_.newRun();
    windingDown_ = false;
    resultsAlerts_ = 0;
    exchangesAtCompletion_ = 0;

    startRun();
    int budget = roll(100);
    for (int extra = 0; budget > 0 && extra < 6; --budget) {
      step();
      if (outcome->calls > 0) ++extra;  // a few more: late answers and stale screens
    }
    windDown();

    std::vector<std::string> broken;
    check(broken);
    if (valid_) {
      for (const auto& screen : leftOpen_) {
        if (auto alive = screen.lock())
          broken.push_back("a screen of the run left open before is still alive: " +
                           alive->interfaceName());
      }
      leftOpen_.clear();
    }
    if (outcome->calls == 0) leftOpen_ = screens_;
    earlier_.emplace_back(outcome, outcome->calls);
    if (earlier_.size() > 20) earlier_.erase(earlier_.begin());
    return broken;
  }

  std::vector<std::string> trace;
  bool strict = false;

 private:
  int roll(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  bool chance(double p) { return std::bernoulli_distribution(p)(rng_); }
  template <class T>
  const T& pick(const std::vector<T>& from) {
    return from[static_cast<std::size_t>(roll(static_cast<int>(from.size())))];
  }
  void note(std::string line) { trace.push_back(std::move(line)); }

  void startRun() {
    // Every screen key of this build, the two keys the combined screen stands for, and unknown
    // ones.
    static const std::vector<std::string> catalogue = [] {
      auto keys = ScreenTable::keys();
      keys.insert(keys.end(),
                  {ScreenType::buttons_v2, ScreenType::charging_v2, "flashlight_v9", ""});
      return keys;
    }();
    bool keyWindow = chance(0.85);
    keyWindow ? hostWithNavigation() : hostWithoutKeyWindow();
    hostScreens_ = {hostRoot};
    if (hostNavigation) hostScreens_ = hostNavigation->viewControllers();
    sdk.hideStartScreen = chance(0.5);
    sdk.language = chance(0.8) ? SupportedLanguage::english : SupportedLanguage::portuguese;

    // Each argument from its valid or its invalid values.
    bool valid = true;
    auto choose = [&](std::vector<std::optional<std::string>> good,
                      std::vector<std::optional<std::string>> bad) {
      if (chance(0.93)) return pick(good);
      valid = false;
      return pick(bad);
    };
    auto appID = *choose({"app-0123456789", "a"}, {"", "   "});
    auto apiKey = *choose({"key-abcdefghijkl", "k"}, {"", "\t"});
    auto imei = choose({std::nullopt, std::nullopt, kValidIMEI, " 49015 42032 37518 "},
                       {"", " ", "490154203237519", "abc"});
    auto serial = choose({std::nullopt, std::nullopt, "C02 XYZ"}, {"", "  "});
    std::optional<std::vector<std::string>> tests;
    if (chance(0.7)) {
      tests.emplace();
      for (int n = roll(6); n > 0; --n) tests->push_back(pick(catalogue));
    }
    std::shared_ptr<Customization> customization;
    if (chance(0.3)) {
      customization = std::make_shared<Customization>();
      customization->customScreens.emplace_back(
          ScreenType::start_screen, std::map<std::string, std::string>{{"title", "Check-up"}});
    }
    std::string list;
    for (const auto& key : tests.value_or(std::vector<std::string>{})) list += key + ",";
    // The client's own time-out mostly as it is; sometimes the strict wait's, or longer, as a
    // host's client may have, so that the two end a silent upload in either order.
    bool givesUp = chance(0.6);
    static const std::vector<int> timeouts = {60, 60, 60, 90, 120};
    AssetUploaderWebService::timeoutInterval = std::chrono::seconds(pick(timeouts));
    platform().httpClient = backend_.startRun(strict, givesUp ? env.queue : nullptr);
    sdk.strictUploads = strict;
    note(std::string("the client ") +
         (givesUp
              ? "gives up on a silent request after " +
                    std::to_string(AssetUploaderWebService::timeoutInterval.count() / 1000) + " s"
              : "never gives up"));
    note("performTests(\"" + appID + "\", \"" + apiKey + "\", tests " +
         (tests ? "[" + list + "]" : "none") + ", imei " + imei.value_or("none") + ", serial " +
         serial.value_or("none") + ") customization " + (customization ? "on" : "off") +
         ", hideStartScreen " + (sdk.hideStartScreen ? "on" : "off") +
         (keyWindow ? "" : ", no key window"));
    valid_ = valid;
    auto recordCompletion = [this, inner = completion()](std::optional<Dictionary> response) {
      exchangesAtCompletion_ = backend_.requests();
      reports_.runEnded();
      note("completion: " + (response ? response->dump() : std::string("nil")));
      inner(std::move(response));
    };
    sdk.performTests(appID, apiKey, tests, imei, serial, customization, recordCompletion);
    // An argument error answers before performTests returns; a run answers later.
    if (!valid && (outcome->calls != 1 || !outcome->response ||
                   outcome->response->value("status_code", 0) / 100 != 4)) {
      note("BROKEN: invalid arguments not refused at once with a 4xx");
    }
    if (valid && outcome->calls != 0) note("BROKEN: valid arguments answered at once");
    if (valid) {
      // The run knows the identifiers given now, and nothing from a run before.
      Dictionary ids = sdk.getDeviceInfo(std::nullopt, std::nullopt)->at("received_ids");
      if (ids.contains("imei_values") != imei.has_value() ||
          ids.contains("serial_number") != serial.has_value() || ids.contains("imei_image_url") ||
          ids.contains("serial_number_image_url")) {
        note("BROKEN: run starts with identifiers " + ids.dump());
      }
    }
    observe();
  }
  void step() {
    int dice = roll(10);
    if (dice < 3) {
      pressSomething();
    } else if (dice == 3) {
      answerAlert(false);
    } else if (dice == 4) {
      typeText();
    } else if (dice == 5) {
      deviceEvent();
    } else if (dice == 6) {
      advanceTime();
    } else {
      backend_.answerOne();
    }
    observe();
  }
  // Cancel wherever offered, the last action of any alert (cancel, try later), Finish on the end
  // screen with every later request answered with an address; every planned answer delivered. While
  // the overlay waits, time passes in steps on either side of the client's time-out and the strict
  // wait, until well past both, for whatever ends a silent upload.
  void windDown() {
    static const std::vector<double> steps = {29.95, 30.05, 59.95, 60.05, 89.95, 90.05};
    windingDown_ = true;
    note("wind down");
    double waited = 0;
    for (int round = 0; round < 40; ++round) {
      backend_.answerAll();
      settle();
      double delay = pick(steps);
      note("advance " + std::to_string(delay) + " s");
      env.queue->advance(delay);
      waited += delay;
      observe();
      if (outcome->calls > 0) {
        if (backend_.allAnswered()) return;
        continue;
      }
      if (alert()) {
        answerAlert(true);
        waited = 0;
        continue;
      }
      if (overlayBlocks()) {
        if (waited < 200) continue;
        return;
      }
      waited = 0;
      auto screen = top();
      if (!screen || isHostScreen(screen)) return;
      const auto ways = {"uiBtCancel_TouchUpInside", "uiBtBack_TouchUpInside",
                         "uiBtDone_TouchUpInside"};
      auto way = std::ranges::find_if(ways, [&](const char* a) { return screen->hasAction(a); });
      if (way == ways.end()) return;
      note(std::string("press ") + *way + " on " + screen->interfaceName());
      screen->sendAction(*way);
    }
  }
  void check(std::vector<std::string>& broken) {
    auto breaks = [&](bool broke, std::string what) {
      if (broke) broken.push_back(std::move(what));
    };
    for (const auto& line : trace) {
      if (line.starts_with("BROKEN: ")) broken.push_back(line.substr(8));
    }
    breaks(outcome->calls > 1, "completion called " + std::to_string(outcome->calls) + " times");
    for (const auto& [earlier, calls] : earlier_)
      breaks(earlier->calls != calls, "an earlier run's completion was called again");
    breaks(!valid_ && backend_.requests() > 0, "a refused run sent a request");
    breaks(!valid_ && !screens_.empty(), "a refused run showed a screen");
    for (auto& line : reports_.broken()) broken.push_back(std::move(line));
    // A failed press of Finish offers its retry alert once; more would be alerts without a cause.
    breaks(resultsAlerts_ > reports_.count("Finish"),
           std::to_string(resultsAlerts_) + " upload failure alerts for " +
               std::to_string(reports_.count("Finish")) + " presses of Finish");
    if (outcome->calls == 0) {
      breaks(!backend_.holdsRunOpen() || !overlayBlocks() || alert(),
             strict ? "the strict run never ended, and no photo or recording upload that no "
                      "answer reached holds it open"
                    : "the run never ended, and no unanswered upload holds it open");
      return;
    }
    // Strictly, the host learns only addresses that the backend gave with a 2xx answer.
    if (strict && outcome->response) {
      std::vector<std::string> urls;
      collectUrls(*outcome->response, urls);
      for (const auto& url : urls)
        breaks(!backend_.confirmed(url), "unconfirmed address in the results: " + url);
    }
    // Ended: everything the run showed is gone and the host has its navigation as it was.
    breaks(backend_.requests() != exchangesAtCompletion_,
           "a request was sent after the completion");
    std::vector<std::string> expected, names = stack();
    for (const auto& screen : hostScreens_) expected.push_back(screen->interfaceName());
    // A host without a key window keeps its plain root when the run was refused.
    if (!navigation()) names = {window->rootViewController()->interfaceName()};
    breaks(names != expected, "the host's stack is not back as it was");
    breaks(hostNavigation && window->rootViewController() != hostNavigation,
           "the host's navigation is not the window's root again");
    breaks(hostNavigation && hostNavigation->isNavigationBarHidden(),
           "the host's navigation bar is left hidden");
    breaks(navigation() && navigation()->presentedViewController(),
           "something is still presented over the host");
    breaks(window->isKeyWindow() && !window->overlays().empty(), "the overlay stays over the host");
    for (const auto& screen : screens_) {
      if (auto alive = screen.lock()) broken.push_back(alive->interfaceName() + " is still alive");
    }
    Dictionary ids = sdk.getDeviceInfo(std::nullopt, std::nullopt)->at("received_ids");
    // A refused call leaves a run still open before it as it was, identifiers and all.
    breaks(!ids.empty() && (valid_ || leftOpen_.empty()),
           "identifiers kept after the run: " + ids.dump());
  }

  void pressSomething() {
    // An alert is modal and the overlay takes every touch beneath it.
    if (alert() || overlayBlocks()) return;
    auto screen = top();
    if (!screen || isHostScreen(screen)) return;
    auto actions = screen->actionNames();
    if (actions.empty()) return;
    // Mostly not Cancel or Back, so that runs get past their first screens.
    std::string action = pick(actions);
    auto givesUp = [](const std::string& name) {
      return name == "uiBtCancel_TouchUpInside" || name == "uiBtBack_TouchUpInside";
    };
    for (int again = 0; again < 3 && givesUp(action); ++again) action = pick(actions);
    note("press " + action + " on " + screen->interfaceName());
    screen->sendAction(action);
  }
  void answerAlert(bool last) {
    auto shown = alert();
    if (!shown || shown->actions().empty()) return;
    std::size_t index =
        last ? shown->actions().size() - 1
             : static_cast<std::size_t>(roll(static_cast<int>(shown->actions().size())));
    note("alert \"" + shown->title() + shown->message() + "\": action " + std::to_string(index));
    shown->performAction(index);
  }
  void typeText() {
    static const std::vector<std::string> texts = {
        kValidIMEI, " 49015 42032 37518 ", "490154203237519", "C02 XYZ", "", "  ", "abc"};
    auto screen = top();
    if (!screen || alert() || overlayBlocks()) return;
    for (const char* field : {"uiTfIMEI", "uiTfWord"}) {
      if (!screen->hasOutlet(field)) continue;
      const auto& text = pick(texts);
      note(std::string("type \"") + text + "\" into " + field);
      screen->textFieldDidChange(field, text);
    }
  }
  void deviceEvent() {
    auto screen = top();
    switch (roll(9)) {
      case 0:
        note("volume up");
        env.volume.pressUp();
        break;
      case 1:
        note("volume down");
        env.volume.pressDown();
        break;
      case 2: {
        float level = static_cast<float>(roll(5)) / 4;
        note("system volume " + std::to_string(level));
        env.volume.systemChange(level);
        break;
      }
      case 3: {
        static const std::vector<BatteryState> states = {
            BatteryState::unplugged, BatteryState::charging, BatteryState::full};
        int index = roll(3);
        note("battery state " + std::to_string(index));
        env.device->setBattery(states[static_cast<std::size_t>(index)]);
        break;
      }
      case 4: {
        if (!screen || !screen->hasOutlet("uiSliderView") || overlayBlocks() || alert()) break;
        screen->outlet<ImageView>("uiImageSlide").bounds = {300, 200};
        int fingers = 1 + roll(3);
        double from = roll(200), to = roll(200);
        note("slide " + std::to_string(fingers) + " fingers " + std::to_string(from) + " to " +
             std::to_string(to));
        quorvel::testing::ScriptedFingers(screen, "uiSliderView")
            .slide(fingers, {150, from}, {150, to});
        break;
      }
      case 5: {
        auto video = std::dynamic_pointer_cast<DeviceFrontVideoViewController>(screen);
        std::string code = !video        ? "noise"
                           : chance(0.5) ? video->startQRCode()
                                         : video->endQRCode();
        note("camera sees " + code + (env.camera->sees({code}) ? "" : " (nothing scans)"));
        break;
      }
      case 6:
        note("sound stopped; movie player closed");
        env.sounds->stop();
        env.videoPlayer->close();
        break;
      case 7:
        if (!env.recorder->recordings.empty()) {
          bool fine = chance(0.5);
          note(std::string("recording ends ") + (fine ? "well" : "badly"));
          env.recorder->recordings.back()->end(fine);
        }
        break;
      default: {
        static const auto photo = Image::encoded(quorvel::testing::makePng(8, 6));
        bool some = chance(0.5);
        note(std::string("photo picker will give ") + (some ? "a photo" : "nothing"));
        env.picker->next = some ? std::optional<Image>(photo) : std::nullopt;
      }
    }
  }
  // Time jumps: the screens' own delays, and jumps across a request's 60 s idle time-out and the
  // strict 90 s wait; or to just before, at or just after whichever timer is pending, so that two
  // that are due close together are passed one at a time, in both orders of the script.
  void advanceTime() {
    static const std::vector<double> delays = {0.05, 0.1,  0.5,  1,    2,    5.5,  6,
                                               30,   59.9, 60.1, 89.9, 90.1, 120.1};
    auto pending = env.queue->pendingDelays();
    double delay = pick(delays);
    std::string why;
    if (!pending.empty() && chance(0.5)) {
      static const std::vector<double> offsets = {-0.01, 0, 0.01};
      delay = std::max(0.0, pick(pending) + pick(offsets));
      why = " (to a timer)";
    }
    note("advance " + std::to_string(delay) + " s" + why);
    env.queue->advance(delay);
  }
  // The main queue settles; then the backend plans for new requests and new screens are watched.
  void observe() {
    settle();
    backend_.planNewRequests(windingDown_);
    collectScreens();
  }
  void collectScreens() {
    auto shown = navigation();
    if (!shown) return;
    auto keep = [&](const std::shared_ptr<ViewController>& screen) {
      if (!screen || isHostScreen(screen)) return;
      for (const auto& seen : screens_) {
        if (seen.lock() == screen) return;
      }
      screens_.push_back(screen);
      reports_.watch(screen);
      auto shownAlert = std::dynamic_pointer_cast<AlertController>(screen);
      if (shownAlert &&
          shownAlert->message() ==
              Localization::copy("error_uploading_results_to_server_message", sdk.language))
        ++resultsAlerts_;
    };
    keep(shown->presentedViewController());
    for (const auto& screen : shown->viewControllers()) {
      keep(screen);
      keep(screen->presentedViewController());
    }
  }
  // The addresses in a host's response, wherever they are.
  static void collectUrls(const Dictionary& value, std::vector<std::string>& urls) {
    if (value.is_array()) {
      for (const auto& item : value) collectUrls(item, urls);
    } else if (value.is_object()) {
      for (const auto& [key, item] : value.items()) {
        if (item.is_string() && key.ends_with("url")) urls.push_back(item.get<std::string>());
        collectUrls(item, urls);
      }
    }
  }

  // The alert on the stack shown or on any of its screens.
  std::shared_ptr<AlertController> alert() const {
    if (auto on = alertOn(); on || !navigation()) return on;
    for (const auto& screen : navigation()->viewControllers()) {
      if (auto on = alertOn(screen)) return on;
    }
    return nullptr;
  }
  bool overlayBlocks() const {
    return window && window->isKeyWindow() && !window->overlays().empty();
  }
  bool isHostScreen(const std::shared_ptr<ViewController>& screen) const {
    return std::find(hostScreens_.begin(), hostScreens_.end(), screen) != hostScreens_.end();
  }

  std::mt19937_64 rng_;
  RandomBackend backend_{rng_, [this](std::string line) { note(std::move(line)); }};
  quorvel::testing::ScreenReports reports_;
  std::vector<std::shared_ptr<ViewController>> hostScreens_;
  std::vector<std::weak_ptr<ViewController>> screens_;
  bool windingDown_ = false;
  int resultsAlerts_ = 0;
  bool valid_ = false;
  std::size_t exchangesAtCompletion_ = 0;

  // Kept across seeds: the screens of a run left open, which the next run must release, and the
  // completions of earlier runs, which must never be called again.
  std::vector<std::weak_ptr<ViewController>> leftOpen_;
  std::vector<std::pair<std::shared_ptr<Outcome>, int>> earlier_;
};

std::uint64_t environmentNumber(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text && *text ? std::strtoull(text, nullptr, 10) : otherwise;
}

// QUORVEL_RANDOM_SEED=s runs seed s alone; with QUORVEL_RANDOM_FROM=f it runs seeds f...s, as the
// SDK is one instance per process and a run can trip over what an earlier one left.
TEST_F(RandomRunsTest, EveryRunAnswersOnceAndLeavesNothingBehind) {
  const std::uint64_t only = environmentNumber("QUORVEL_RANDOM_SEED", 0);
  const bool traced = environmentNumber("QUORVEL_RANDOM_TRACE", 0) != 0;
  const std::uint64_t first = only ? environmentNumber("QUORVEL_RANDOM_FROM", only) : 1;
  const std::uint64_t last = only ? only : environmentNumber("QUORVEL_RANDOM_RUNS", 10000);
  auto previous = std::signal(SIGABRT, saySeed);
  if (only) liveTrace = &trace;
#if defined(__SANITIZE_ADDRESS__)
  // A sanitizer's report ends the process without a signal.
  __sanitizer_set_death_callback([] { saySeed(0); });
#endif
  for (std::uint64_t seed = first; seed <= last; ++seed) {
    auto broken = runSeed(seed);
    if (seed == only && (traced || !broken.empty())) {
      std::printf("seed %llu trace:\n", static_cast<unsigned long long>(seed));
      for (std::size_t i = 0; i < trace.size(); ++i)
        std::printf("  %zu: %s\n", i, trace[i].c_str());
    }
    if (broken.empty()) continue;
    std::ostringstream message;
    message << "seed " << seed << " (strict uploads " << (strict ? "on" : "off") << ") broke:";
    for (const auto& line : broken) message << "\n  " << line;
    message << "\nreplay: QUORVEL_RANDOM_SEED=" << seed;
    if (seed != first) message << " QUORVEL_RANDOM_FROM=" << first;
    message << " build/debug/test/quorvel_tests --gtest_filter=RandomRunsTest.*";
    ADD_FAILURE() << message.str();
    break;
  }
  std::signal(SIGABRT, previous);
  liveTrace = nullptr;
#if defined(__SANITIZE_ADDRESS__)
  __sanitizer_set_death_callback(nullptr);
#endif
}

}  // namespace
