#include <memory>

#include "linux/LinuxDevice.h"
#include "linux/PosixClock.h"
#include "linux/SyslogLog.h"
#include "linux/XdgUrlOpener.h"
#include "quorvel/platform/Platform.h"
#include "support/RunLoopMainQueue.h"
#include "ui/Application.h"

namespace quorvel {

Platform makeDefaultPlatform() {
  Platform p;
  p.mainQueue = std::make_shared<RunLoopMainQueue>();
  p.clock = std::make_shared<PosixClock>();
  p.log = std::make_shared<SyslogLog>();
  // A host that passes no dictionary declares nothing.
  p.hostBundle = std::make_shared<StaticHostBundle>();
  p.device = std::make_shared<LinuxDevice>();
  // Picking a photo needs a front end; the Qt one installs its own.
  p.imagePicker = nullptr;
  p.urlOpener = std::make_shared<XdgUrlOpener>();
  p.application = std::make_shared<Application>();
  return p;
}

}  // namespace quorvel
