#include <errno.h>

#include <memory>

#include "curl/CurlHttpClient.h"
#include "linux/FeedbackdFeedback.h"
#include "linux/LinuxDevice.h"
#include "linux/PosixClock.h"
#include "linux/PulseAudioSession.h"
#include "linux/SharedMimeInfoTypeRegistry.h"
#include "linux/SyslogLog.h"
#include "linux/XdgUrlOpener.h"
#include "media/JpegImageEncoder.h"
#include "media/IsoMediaExport.h"
#include "quorvel/platform/Platform.h"
#include "quorvel/ui/Application.h"
#include "support/RunLoopMainQueue.h"

namespace quorvel {

// A Linux build's default ports: the Linux adapters, libcurl for HTTP and FFmpeg for images and
// movies.

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
  p.httpClient = std::make_shared<CurlHttpClient>();
  p.imageEncoder = std::make_shared<JpegImageEncoder>();
  p.typeRegistry = std::make_shared<SharedMimeInfoTypeRegistry>();
  // Volume keys and screenshots reach a desktop application through its front end, which reports
  // them to these; until one does, none arrive.
  p.volumeEvents = std::make_shared<VolumeEvents>();
  p.screenshotEvents = std::make_shared<ScreenshotEvents>();
  // The sound server's mixer where one runs; the level is tracked where none does.
  p.audioSession = std::make_shared<PulseAudioSession>();
  p.application = std::make_shared<Application>();
  p.mediaExport = std::make_shared<IsoMediaExport>();
  // feedbackd on a Linux phone; nothing elsewhere.
  p.feedback = std::make_shared<FeedbackdFeedback>(program_invocation_short_name);
  // Sound, the camera and movie playback need a front end; the Qt one fills them.
  return p;
}

}  // namespace quorvel
