#pragma once

#include <QObject>
#include <QString>
#include <cstdio>

#include "quorvel/quick/QuickFrontEnd.h"

namespace quorvel::demo {

// Saves the front end's window as numbered PNGs ("03-MultipleTests_v2_ViewController.png").
class ScreenRecorder : public QObject {
  Q_OBJECT

 public:
  // Creates directory if needed; an unwritable one is reported on the first capture.
  // Problems are told on messages.
  ScreenRecorder(QuickFrontEnd& frontEnd, QString directory, std::FILE* messages,
                 QObject* parent = nullptr);

  // Saves the window now; false (with a message on standard error) when it cannot be written.
  bool capture(const QString& label);
  // Captures every screen and alert once it has settled on display.
  void captureAutomatically();

 private:
  QuickFrontEnd& frontEnd_;
  QString directory_;
  std::FILE* messages_;
  int count_ = 0;
};

}  // namespace quorvel::demo
