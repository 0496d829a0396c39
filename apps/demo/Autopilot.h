#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <functional>
#include <memory>
#include <string>

#include "quorvel/quick/QuickFrontEnd.h"
#include "quorvel/virtual/VirtualChargerDevice.h"
#include "quorvel/virtual/VirtualKeyboard.h"
#include "quorvel/virtual/VirtualPerson.h"
#include "quorvel/virtual/VirtualTouchScreen.h"
#include "quorvel/virtual/VirtualVolumeKeys.h"

namespace quorvel::demo {

class ScreenRecorder;

// An unattended run that acts as a person would, through the same input path: it taps what is on
// screen, types on the keyboard, plugs the charger and presses the volume keys, one screen at a
// time, waiting for what the screen shows before each step.
class Autopilot : public QObject {
  Q_OBJECT

 public:
  struct Devices {
    std::shared_ptr<VirtualChargerDevice> charger;
    VirtualVolumeKeys* volumeKeys = nullptr;
    VirtualTouchScreen* touchScreen = nullptr;
    VirtualKeyboard* keyboard = nullptr;
    // Hears the speaker and speaks to the microphone.
    std::shared_ptr<VirtualPerson> person;
  };

  // recorder, when given, captures every screen before the autopilot acts on it.
  Autopilot(QuickFrontEnd& frontEnd, Devices devices, std::string imei, ScreenRecorder* recorder,
            QObject* parent = nullptr);

  // Presses the host's start button and follows the run to the host's result page.
  void start();

 signals:
  // The run reached the host's result page.
  void arrived();
  // A step could not happen; what says which.
  void stuck(const QString& what);

 private:
  void screenSettled(ViewControllerBridge* screen);
  void act(const QString& interfaceName);
  void answerAlert();
  // The screen video tests: the sound up, Next, filming (by the button for v2, by the start code
  // for v1), then the review's box and Next.
  void filmInTheMirror(bool byButton);
  // The heard-word tests: play, listen, type the word heard, Next.
  void typeTheWordHeard();
  void typeWordAndNext(const QString& word, std::function<void()> then);
  // The read-word test: record, say the word shown, stop, Next.
  void readTheWordAloud();
  // Screenshots of the steps within one screen ("<screen>-<step>"), and of the film's moments.
  void captureStep(const QString& step);
  void captureFilm();

  // Runs action once condition holds, checking often; gives up (stuck) after a while. Waits of a
  // screen that has gone are dropped.
  void when(const QString& what, std::function<bool()> condition, std::function<void()> action);
  void when(const QString& what, std::function<bool()> condition, int patienceMilliseconds,
            std::function<void()> action);
  bool shows(const QString& outlet) const;
  QPointF centerOf(const QString& outlet) const;
  void tap(const QString& outlet);
  // The top screen's rows of its table outlet, as the core holds them.
  Dictionary outletJson(const QString& outlet) const;

  QuickFrontEnd& frontEnd_;
  Devices devices_;
  std::string imei_;
  ScreenRecorder* recorder_;
  std::weak_ptr<ViewController> current_;
  int generation_ = 0;
  bool started_ = false;
};

}  // namespace quorvel::demo
