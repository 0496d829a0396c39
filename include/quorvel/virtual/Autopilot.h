#pragma once

#include <QObject>
#include <QPointF>
#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/Export.h"

namespace quorvel {

class QuickFrontEnd;
class ViewControllerBridge;
class ViewController;
class VirtualChargerDevice;
class VirtualKeyboard;
class VirtualMirrorCamera;
class VirtualPerson;
class VirtualTouchScreen;
class VirtualVolumeKeys;

// An unattended run for a host's own CI: the SDK's screens driven as a person would drive them,
// through the same input path, on a machine without the hardware. Made once the front end and
// the host's platform are installed, it puts the virtual devices into the installed platform (a
// mirror camera filming the window, a speaker and a microphone in one room with a person who
// listens and reads aloud, volume keys with a volume of their own, a charger, a vibrator) and from
// then on acts on every screen of the SDK that settles: it taps what is on screen, types on the
// keyboard, plugs the charger and presses the volume keys, one screen at a time, waiting for what
// the screen shows before each step. Test screens it has no steps for get "I couldn't complete
// this test", honestly, rather than a pass; the host's own pages are left to the host.
//
//   quorvel::Autopilot autopilot(frontEnd);   // then performTests as usual
class QUORVEL_EXPORT Autopilot : public QObject {
  Q_OBJECT

 public:
  struct Options {
    // What the IMEI screen is given.
    std::string imei = "490154203237518";
    // Asked first about every screen that settles, the host's own pages included (by interface
    // name); true when the host acted on it.
    std::function<bool(const QString& interfaceName)> hostScreen;
    // Told before each step worth a picture ("StartViewController", "<screen>-review", "Alert").
    std::function<void(const QString& label)> capture;
  };

  explicit Autopilot(QuickFrontEnd& frontEnd, QObject* parent = nullptr);
  Autopilot(QuickFrontEnd& frontEnd, Options options, QObject* parent = nullptr);
  ~Autopilot() override;

  // Taps the item that draws outlet on the screen on top (or in the alert).
  void tap(const QString& outlet);
  // The vibrations the SDK gave so far (the machine still gives its own).
  int vibrations() const;

 signals:
  // A step could not happen; what says which. The run is left as it is.
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
  // The top screen's rows of its table outlet, as the core holds them.
  Dictionary outletJson(const QString& outlet) const;

  // The input devices act on the front end's window, made when it first shows a screen.
  bool readyDevices();

  QuickFrontEnd& frontEnd_;
  Options options_;
  struct Devices;
  std::unique_ptr<Devices> devices_;
  std::weak_ptr<ViewController> current_;
  int generation_ = 0;
  bool started_ = false;
};

}  // namespace quorvel
