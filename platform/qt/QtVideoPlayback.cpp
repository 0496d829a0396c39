#include "qt/QtVideoPlayback.h"

#include <QString>

namespace quorvel {

void QtVideoPlayback::play(const std::string& moviePath, Closed closed) {
  present_(QUrl::fromLocalFile(QString::fromStdString(moviePath)), std::move(closed));
}

}  // namespace quorvel
