#pragma once

#include <mutex>

#include "quorvel/platform/Log.h"

namespace quorvel {

// The system log through syslog(3). With QUORVEL_LOG=stderr every line also goes to standard
// error, for technicians watching a terminal.
class SyslogLog : public Log {
 public:
  SyslogLog();
  void write(std::string_view line) override;

 private:
  bool echoToStderr_;
  std::mutex stderrMutex_;
};

}  // namespace quorvel
