#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::testing {

// A program that a test or a bench starts and that ends with it: when this goes, the program gets
// TERM, and KILL if it is still there after a grace.
class ChildProcess {
 public:
  struct Options {
    // Where standard output and error are appended; inherited when empty.
    std::filesystem::path output;
    // The whole environment of the program; this process's own when missing.
    std::optional<std::vector<std::string>> environment;
  };

  ChildProcess() = default;
  // Starts arguments[0], searched on PATH when it holds no slash; started() is false when it could
  // not be.
  explicit ChildProcess(const std::vector<std::string>& arguments, const Options& options = {});
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&& other) noexcept;
  ~ChildProcess();

  bool started() const { return pid_ > 0; }
  pid_t pid() const { return pid_; }

  // True once the program has ended.
  bool exited();
  // Waits for the end; its exit code, or 128 + the signal that ended it.
  int wait();
  // Sends TERM and waits at most grace before KILL; the exit code as wait() gives it.
  int stop(std::chrono::milliseconds grace = std::chrono::seconds(2));
  // What the program used (CPU times, its peak resident size), once it has ended.
  const rusage& usage() const { return usage_; }

 private:
  void release();
  // Takes the ended program's status; false while it runs (with WNOHANG).
  bool reap(int flags);

  pid_t pid_ = -1;
  bool ended_ = false;
  int code_ = -1;
  rusage usage_{};
};

}  // namespace quorvel::testing
