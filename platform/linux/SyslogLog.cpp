#include "linux/SyslogLog.h"

#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace quorvel {

SyslogLog::SyslogLog() {
  // The environment is read once: getenv racing a host's setenv on another thread is undefined.
  const char* target = std::getenv("QUORVEL_LOG");
  echoToStderr_ = target != nullptr && std::strcmp(target, "stderr") == 0;
  // Several platforms may be made in one process; the identity is set once for all of them.
  static std::once_flag opened;
  std::call_once(opened, [] { ::openlog("quorvel", LOG_PID, LOG_USER); });
}

void SyslogLog::write(std::string_view line) {
  std::string text(line);
  // syslog(3) is thread-safe in glibc; only the stderr copy needs the lock to keep lines whole.
  ::syslog(LOG_USER | LOG_INFO, "%s", text.c_str());
  if (!echoToStderr_) return;
  text += '\n';
  std::lock_guard lock(stderrMutex_);
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace quorvel
