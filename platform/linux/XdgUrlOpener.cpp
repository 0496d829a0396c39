#include "linux/XdgUrlOpener.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <thread>
#include <utility>

#include "quorvel/platform/Platform.h"
#include "support/MainQueueCheck.h"

namespace quorvel {

void XdgUrlOpener::open(const std::string& url, std::function<void(bool opened)> completion) {
  // Taken here, on the main queue, rather than from the waiting thread.
  std::shared_ptr<MainQueue> queue = platform().mainQueue;
  auto finish = [queue, completion = std::move(completion)](bool opened) {
    if (!completion) return;
    queue->async([completion, opened] {
      checkOnMainQueue("the URL opener's answer");
      completion(opened);
    });
  };
  // xdg-open would take a leading dash as one of its own options.
  if (url.empty() || url.front() == '-') {
    finish(false);
    return;
  }
  std::string program = "xdg-open";
  std::string argument = url;
  char* argv[] = {program.data(), argument.data(), nullptr};
  pid_t child = 0;
  if (::posix_spawnp(&child, "xdg-open", nullptr, nullptr, argv, environ) != 0) {
    finish(false);
    return;
  }
  // xdg-open may block until a browser starts; the main queue must not wait for it.
  std::thread([child, finish = std::move(finish)] {
    int status = 0;
    pid_t waited = 0;
    do {
      waited = ::waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    finish(waited == child && WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }).detach();
}

}  // namespace quorvel
