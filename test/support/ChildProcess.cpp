#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>

extern char** environ;

namespace quorvel::testing {

namespace {

std::vector<char*> pointersTo(const std::vector<std::string>& strings) {
  std::vector<char*> out;
  for (const auto& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

int codeOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, const Options& options) {
  if (arguments.empty()) return;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (!options.output.empty()) {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, options.output.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  }
  auto argv = pointersTo(arguments);
  auto envp = options.environment ? pointersTo(*options.environment) : std::vector<char*>{};
  pid_t pid = -1;
  int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(),
                           options.environment ? envp.data() : environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error == 0) pid_ = pid;
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept { *this = std::move(other); }

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  if (this != &other) {
    release();
    pid_ = std::exchange(other.pid_, -1);
    ended_ = other.ended_;
    code_ = other.code_;
    usage_ = other.usage_;
  }
  return *this;
}

ChildProcess::~ChildProcess() { release(); }

void ChildProcess::release() {
  if (started() && !ended_) stop();
  pid_ = -1;
}

bool ChildProcess::reap(int flags) {
  int status = 0;
  pid_t done = -1;
  while ((done = ::wait4(pid_, &status, flags, &usage_)) < 0 && errno == EINTR) {
  }
  if (done != pid_) return false;
  ended_ = true;
  code_ = codeOf(status);
  return true;
}

bool ChildProcess::exited() { return !started() || ended_ || reap(WNOHANG); }

int ChildProcess::wait() {
  if (!started() || ended_) return code_;
  if (!reap(0)) ended_ = true;  // not ours to wait for any more
  return code_;
}

int ChildProcess::stop(std::chrono::milliseconds grace) {
  if (exited()) return code_;
  ::kill(pid_, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  while (!exited()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid_, SIGKILL);
      return wait();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return code_;
}

}  // namespace quorvel::testing
