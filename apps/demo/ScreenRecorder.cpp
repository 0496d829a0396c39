#include "ScreenRecorder.h"

#include <QDir>
#include <QTimer>
#include <cstdio>

namespace quorvel::demo {

namespace {

// Long enough for images to load and an alert's opening animation to end.
constexpr int kSettleMilliseconds = 400;

}  // namespace

ScreenRecorder::ScreenRecorder(QuickFrontEnd& frontEnd, QString directory, std::FILE* messages,
                               QObject* parent)
    : QObject(parent), frontEnd_(frontEnd), directory_(std::move(directory)), messages_(messages) {
  QDir().mkpath(directory_);
}

bool ScreenRecorder::capture(const QString& label) {
  const QString path =
      QDir(directory_).filePath(QString("%1-%2.png").arg(++count_, 2, 10, QChar('0')).arg(label));
  const QImage image = frontEnd_.window()->grabWindow();
  if (image.isNull() || !image.save(path)) {
    std::fprintf(messages_, "quorvel-demo: could not save the screenshot %s\n", qPrintable(path));
    return false;
  }
  return true;
}

void ScreenRecorder::captureAutomatically() {
  connect(&frontEnd_, &QuickFrontEnd::screenSettled, this, [this](ViewControllerBridge* screen) {
    QPointer<ViewControllerBridge> target = screen;
    QTimer::singleShot(kSettleMilliseconds, this, [this, target] {
      if (target) capture(target->interfaceName());
    });
  });
  connect(&frontEnd_, &QuickFrontEnd::alertChanged, this, [this] {
    if (!frontEnd_.alert()) return;
    QTimer::singleShot(kSettleMilliseconds, this, [this] {
      if (frontEnd_.alert()) capture("Alert");
    });
  });
}

}  // namespace quorvel::demo
