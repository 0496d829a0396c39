#include "quorvel/virtual/Autopilot.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <utility>

#include "quorvel/platform/Platform.h"
#include "quorvel/platform/TrackedAudioSession.h"
#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/virtual/VirtualAudioRecorder.h"
#include "quorvel/virtual/VirtualChargerDevice.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "quorvel/virtual/VirtualMirrorCamera.h"
#include "quorvel/virtual/VirtualPerson.h"
#include "quorvel/virtual/VirtualSpeaker.h"
#include "quorvel/virtual/VirtualTouchScreen.h"
#include "quorvel/virtual/VirtualVibrator.h"
#include "quorvel/virtual/VirtualVolumeKeys.h"
#include "widgets/MultipleTestsTableViewCell.h"

namespace quorvel {

namespace {

// Time for a screen's entrance and images before the first step, as a person would look first.
constexpr int kLookMilliseconds = 500;
constexpr int kPollMilliseconds = 100;
constexpr int kPatienceMilliseconds = 20000;
// The review comes after a whole film (the start code read, six seconds of codes and colours, the
// movie closed and its first picture taken), which a loaded machine may stretch.
constexpr int kFilmPatienceMilliseconds = 90000;

// A row of the combined screen that passed.
constexpr int kRowSucceeded = static_cast<int>(TestViewState::success);

}  // namespace

struct Autopilot::Devices {
  std::shared_ptr<VirtualMirrorCamera> mirror;
  std::shared_ptr<VirtualPerson> person;
  std::shared_ptr<VirtualVibrator> vibrator;
  std::shared_ptr<VirtualChargerDevice> charger;
  std::shared_ptr<AudioSession> audioSession;
  std::shared_ptr<VolumeEvents> volumeEvents;
  // The window they act on (the mirror films it), taken when a screen settles in it.
  QPointer<QQuickWindow> window;
  std::unique_ptr<VirtualVolumeKeys> volumeKeys;
  std::unique_ptr<VirtualTouchScreen> touchScreen;
  std::unique_ptr<VirtualKeyboard> keyboard;
};

Autopilot::Autopilot(QuickFrontEnd& frontEnd, QObject* parent)
    : Autopilot(frontEnd, Options(), parent) {}

Autopilot::Autopilot(QuickFrontEnd& frontEnd, Options options, QObject* parent)
    : QObject(parent),
      frontEnd_(frontEnd),
      options_(std::move(options)),
      devices_(std::make_unique<Devices>()) {
  // The mirror films the window as a mirror in front of the device shows it, and hears in its
  // room what the speaker plays; the volume keys move a volume of their own, never the machine's.
  auto room = std::make_shared<VirtualRoom>();
  devices_->mirror = std::make_shared<VirtualMirrorCamera>(frontEnd_.window(), room);
  frontEnd_.useCamera(devices_->mirror, devices_->mirror);
  frontEnd_.useAudioSession(std::make_shared<TrackedAudioSession>());
  // The host's platform when it installed the front end's, else the front end's own.
  Platform platform = quorvel::platform();
  if (platform.mainQueue != frontEnd_.platform().mainQueue) platform = frontEnd_.platform();
  devices_->person = std::make_shared<VirtualPerson>(room);
  auto speaker = std::make_shared<VirtualSpeaker>(platform.audioPlayer, room);
  speaker->setListener(
      [person = devices_->person](const std::string& assetName) { person->hear(assetName); });
  platform.audioPlayer = speaker;
  platform.audioRecorder = std::make_shared<VirtualAudioRecorder>(room, platform.mainQueue);
  devices_->vibrator = std::make_shared<VirtualVibrator>(platform.feedback);
  platform.feedback = devices_->vibrator;
  devices_->charger = std::make_shared<VirtualChargerDevice>(platform.device, platform.mainQueue);
  platform.device = devices_->charger;
  devices_->audioSession = platform.audioSession;
  devices_->volumeEvents = platform.volumeEvents;
  installPlatform(platform);

  connect(&frontEnd_, &QuickFrontEnd::screenSettled, this, &Autopilot::screenSettled);
  connect(&frontEnd_, &QuickFrontEnd::alertChanged, this, [this] {
    if (frontEnd_.alert()) QTimer::singleShot(kLookMilliseconds, this, &Autopilot::answerAlert);
  });
  // A screen already on display when the autopilot came is acted on too.
  QTimer::singleShot(0, this, [this] {
    if (auto top = frontEnd_.topViewController()) screenSettled(frontEnd_.bridgeFor(top));
  });
}

Autopilot::~Autopilot() = default;

int Autopilot::vibrations() const { return devices_->vibrator->vibrations(); }

bool Autopilot::readyDevices() {
  QQuickWindow* window = frontEnd_.window();
  if (!window) return false;
  if (devices_->window == window) return true;
  devices_->window = window;
  devices_->mirror->setWindow(window);
  devices_->volumeKeys =
      std::make_unique<VirtualVolumeKeys>(window, devices_->volumeEvents, devices_->audioSession);
  devices_->touchScreen = std::make_unique<VirtualTouchScreen>(window);
  devices_->keyboard = std::make_unique<VirtualKeyboard>(window);
  return true;
}

void Autopilot::screenSettled(ViewControllerBridge* screen) {
  auto controller = screen ? screen->controller() : nullptr;
  if (!controller || !frontEnd_.window()) return;
  // The same screen again is news only when another window shows it now.
  const bool moved = devices_->window != frontEnd_.window();
  if ((controller == current_.lock() && !moved) || !readyDevices()) return;
  current_ = controller;
  const int generation = ++generation_;
  const QString name = screen->interfaceName();
  QTimer::singleShot(kLookMilliseconds, this, [this, generation, name] {
    if (generation != generation_) return;
    if (options_.capture) options_.capture(name);
    if (options_.hostScreen && options_.hostScreen(name)) return;
    act(name);
  });
}

void Autopilot::act(const QString& name) {
  auto next = [this] {
    when(
        "the Next button", [this] { return shows("uiBtNext"); }, [this] { tap("uiBtNext"); });
  };
  if (name == "StartViewController") {
    next();
  } else if (name == "IMEIViewController") {
    when(
        "the IMEI field", [this] { return shows("uiTfIMEI"); },
        [this, next] {
          tap("uiTfIMEI");
          QTimer::singleShot(200, this, [this, next] {
            devices_->keyboard->type(QString::fromStdString(options_.imei));
            next();
          });
        });
  } else if (name == "MultipleTests_v2_ViewController") {
    // Rows in order: charging, volume up, volume down. Each step waits for the row before it.
    auto rowDone = [this](std::size_t index) {
      return [this, index] {
        const Dictionary rows = outletJson("uiTableView").value("rows", Dictionary::array());
        return rows.size() > index && rows[index].value("state", 0) == kRowSucceeded;
      };
    };
    // Mid-level, so that both keys move the level as they would for a person.
    devices_->volumeKeys->setLevel(0.5f);
    devices_->charger->plug();
    when("the charging row", rowDone(0), [this, rowDone, next] {
      devices_->volumeKeys->pressUp();
      when("the volume-up row", rowDone(1), [this, next] {
        devices_->volumeKeys->pressDown();
        next();
      });
    });
  } else if (name == "Charging_v1_ViewController") {
    devices_->charger->plug();
    next();
  } else if (name == "MultiTouch_v2_ViewController") {
    when(
        "the slider", [this] { return shows("uiSliderView"); },
        [this, next] {
          QQuickItem* slider = frontEnd_.findItem("uiSliderView");
          const QPointF top =
              slider->mapToScene(QPointF(slider->width() / 2, slider->height() * 0.04));
          const QPointF bottom =
              slider->mapToScene(QPointF(slider->width() / 2, slider->height() * 0.97));
          devices_->touchScreen->slide(top, bottom, 2, 16, next);
        });
  } else if (name == "MultiTouch_v1_ViewController") {
    devices_->touchScreen->tap(centerOf("view"), 3);
  } else if (name == "DeviceFrontVideo_v2_ViewController") {
    filmInTheMirror(true);
  } else if (name == "DeviceFrontVideo_v1_ViewController") {
    filmInTheMirror(false);
  } else if (name == "Loudspeaker_v1_ViewController" || name == "Earspeaker_v1_ViewController") {
    typeTheWordHeard();
  } else if (name == "SpeakerRecording_v1_ViewController") {
    // The sound plays and is recorded; the test ends with it.
    when(
        "the start button", [this] { return shows("uiBtStartTest"); },
        [this] { tap("uiBtStartTest"); });
  } else if (name == "ReadText_v1_ViewController") {
    readTheWordAloud();
  } else if (name == "TestsFinishedViewController") {
    when(
        "the Finish button", [this] { return shows("uiBtDone"); }, [this] { tap("uiBtDone"); });
  } else if (frontEnd_.findItem("uiBtCouldntCompleteTest")) {
    // A screen this autopilot has no steps for: say so honestly rather than pass it.
    tap("uiBtCouldntCompleteTest");
  }
  // Anything else is a page of the host's own (the scene beneath a run among them): the host acts
  // on it, or the run moves on by itself.
}

void Autopilot::filmInTheMirror(bool byButton) {
  // Loud enough to pass the sound check: up, a press at a time, to at least half.
  auto raiseVolume = std::make_shared<std::function<void(std::function<void()>)>>();
  *raiseVolume = [this, raiseVolume](std::function<void()> then) {
    if (quorvel::platform().audioSession->outputVolume() >= 0.5f) {
      auto self = std::exchange(*raiseVolume, nullptr);
      then();
      return;
    }
    devices_->volumeKeys->pressUp();
    QTimer::singleShot(kPollMilliseconds, this, [raiseVolume, then] {
      if (*raiseVolume) (*raiseVolume)(then);
    });
  };
  // The review: tick the box (v2) once it shows, then Next once it takes a press.
  auto review = [this, byButton] {
    auto submit = [this] {
      when(
          "Next on the review",
          [this] { return outletJson("uiBtVideoReviewNext").value("enabled", false); },
          [this] { tap("uiBtVideoReviewNext"); });
    };
    // The review shows once the film's first picture is in it.
    auto reviewShown = [this] {
      return shows("uiBtVideoReviewNext") && !outletJson("uiVideoReviewImage")["image"].is_null();
    };
    if (!byButton) {
      when("the review", reviewShown, kFilmPatienceMilliseconds, [this, submit] {
        captureStep("review");
        submit();
      });
      return;
    }
    when("the review", reviewShown, kFilmPatienceMilliseconds, [this, submit] {
      captureStep("review");
      tap("uiCheckBoxTerms");
      submit();
    });
  };
  (*raiseVolume)([this, byButton, review] {
    when(
        "the Next button", [this] { return shows("uiBtNext"); },
        [this, byButton, review] {
          tap("uiBtNext");
          // v1 starts when the camera reads the start code in the mirror; v2 by its button.
          if (!byButton) {
            review();
            return;
          }
          when(
              "the record button", [this] { return shows("uiBtStartRecording"); },
              [this, review] {
                captureStep("preview");
                tap("uiBtStartRecording");
                captureFilm();
                review();
              });
        });
  });
}

void Autopilot::typeTheWordHeard() {
  auto person = devices_->person;
  const std::string before = person->lastWordHeard();
  when(
      "the play button", [this] { return shows("uiBtPlay"); },
      [this, person, before] {
        tap("uiBtPlay");
        // Typed once heard to the end, as the play button says when it turns back.
        when(
            "the word",
            [this, person, before] {
              return person->lastWordHeard() != before &&
                     !outletJson("uiBtPlay")["backgroundColor"].is_string();
            },
            [this, person] {
              captureStep("heard");
              // A slip first, as people make: the plural is refused, then the word passes.
              const QString word = QString::fromStdString(person->lastWordHeard());
              typeWordAndNext(word + "s", [this, word] {
                when(
                    "the mismatch alert", [this] { return frontEnd_.alert() != nullptr; },
                    [this, word] {
                      when(
                          "the alert to close", [this] { return frontEnd_.alert() == nullptr; },
                          [this, word] { typeWordAndNext(word, nullptr); });
                    });
              });
            });
      });
}

void Autopilot::typeWordAndNext(const QString& word, std::function<void()> then) {
  tap("uiTfWord");
  QTimer::singleShot(200, this, [this, word, then] {
    // Over whatever the field holds; the return key ends the editing, which shows Next.
    devices_->keyboard->pressKey(Qt::Key_A, Qt::ControlModifier);
    devices_->keyboard->type(word);
    devices_->keyboard->pressKey(Qt::Key_Return);
    when(
        "the Next button", [this] { return shows("uiBtNext"); },
        [this, then] {
          tap("uiBtNext");
          if (then) then();
        });
  });
}

void Autopilot::readTheWordAloud() {
  auto word = [this] { return outletJson("uiLbWord").value("text", std::string()); };
  when(
      "the word and the record button",
      [this, word] { return !word().empty() && shows("uiBtRecord"); },
      [this, word] {
        tap("uiBtRecord");
        // A breath, the word, a breath, then stop.
        QTimer::singleShot(400, this, [this, word] {
          const double seconds = devices_->person->say(word());
          if (seconds <= 0) {
            emit stuck("no voice for the word " + QString::fromStdString(word()));
            return;
          }
          QTimer::singleShot(static_cast<int>(seconds * 1000) + 500, this, [this] {
            captureStep("recording");
            tap("uiBtRecord");
            when(
                "the Next button", [this] { return shows("uiBtNext"); },
                [this] { tap("uiBtNext"); });
          });
        });
      });
}

void Autopilot::captureStep(const QString& step) {
  auto controller = current_.lock();
  if (options_.capture && controller) {
    options_.capture(QString::fromStdString(controller->interfaceName()) + "-" + step);
  }
}

void Autopilot::captureFilm() {
  if (!options_.capture) return;
  // The screen's moments from the press: the start code at once, a colour each second from
  // 0.5 s, the end code at 5.5 s. Each is captured halfway through.
  const std::pair<int, const char*> moments[] = {
      {250, "start-code"}, {1000, "blue"},  {2000, "yellow"},  {3000, "red"},
      {4000, "black"},     {5000, "green"}, {5750, "end-code"}};
  const int generation = generation_;
  for (const auto& [at, step] : moments) {
    QTimer::singleShot(at, this, [this, generation, step = QString(step)] {
      if (generation == generation_) captureStep(step);
    });
  }
}

void Autopilot::answerAlert() {
  ViewControllerBridge* alert = frontEnd_.alert();
  if (!alert) return;
  if (options_.capture) options_.capture("Alert");
  // The last action is the one that ends the matter (try later, cancel): the autopilot never
  // loops on a failing upload.
  const int actions = alert->alert().value("actions").toList().size();
  if (actions == 0) {
    emit stuck("an alert without buttons");
    return;
  }
  tap("action" + QString::number(actions - 1));
}

void Autopilot::when(const QString& what, std::function<bool()> condition,
                     std::function<void()> action) {
  when(what, std::move(condition), kPatienceMilliseconds, std::move(action));
}

void Autopilot::when(const QString& what, std::function<bool()> condition, int patienceMilliseconds,
                     std::function<void()> action) {
  const int generation = generation_;
  auto waited = std::make_shared<int>(0);
  auto poll = std::make_shared<std::function<void()>>();
  *poll = [this, what, generation, waited, patienceMilliseconds, condition = std::move(condition),
           action = std::move(action), poll]() {
    if (generation != generation_) {
      auto self = std::exchange(*poll, nullptr);
      return;
    }
    if (condition()) {
      // Keeps this closure alive while it runs, then lets it go.
      auto self = std::exchange(*poll, nullptr);
      action();
      return;
    }
    *waited += kPollMilliseconds;
    if (*waited > patienceMilliseconds) {
      auto self = std::exchange(*poll, nullptr);
      emit stuck(what + " never showed on " +
                 frontEnd_.bridgeFor(current_.lock())->interfaceName());
      return;
    }
    QTimer::singleShot(kPollMilliseconds, this, [poll] {
      if (*poll) (*poll)();
    });
  };
  (*poll)();
}

bool Autopilot::shows(const QString& outlet) const {
  QQuickItem* item = frontEnd_.findItem(outlet);
  return item && item->isVisible() && item->isEnabled() && item->opacity() > 0;
}

QPointF Autopilot::centerOf(const QString& outlet) const {
  QQuickItem* item = frontEnd_.findItem(outlet);
  if (!item) return {};
  return item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
}

void Autopilot::tap(const QString& outlet) { devices_->touchScreen->tap(centerOf(outlet), 1); }

Dictionary Autopilot::outletJson(const QString& outlet) const {
  auto controller = current_.lock();
  if (!controller || !controller->hasOutlet(outlet.toStdString())) return Dictionary::object();
  return controller->snapshot()["outlets"][outlet.toStdString()];
}

}  // namespace quorvel
