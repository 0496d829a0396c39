#include "qt/QtVideoPlayback.h"

#include <QString>

namespace quorvel {

void QtVideoPlayback::play(const std::string& moviePath) {
  present_(QUrl::fromLocalFile(QString::fromStdString(moviePath)));
}

}  // namespace quorvel
