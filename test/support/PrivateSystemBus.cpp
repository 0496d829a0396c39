#include "support/PrivateSystemBus.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace quorvel::testing {

namespace {

constexpr const char* kPython = "/usr/bin/python3";
constexpr const char* kDaemon = "/usr/bin/dbus-daemon";
constexpr auto kPatience = std::chrono::seconds(10);

// Anyone on this machine's user may own any name and talk to anyone: the bus is the test's alone.
constexpr const char* kConfig = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:dir=@FOLDER@</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>
</busconfig>
)";

void terminate(pid_t pid) {
  if (pid <= 0) return;
  ::kill(pid, SIGTERM);
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (::waitpid(pid, nullptr, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

std::string contents(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

}  // namespace

PrivateSystemBus::PrivateSystemBus() {
  for (const char* tool : {kPython, kDaemon}) {
    if (::access(tool, X_OK) != 0) {
      ADD_FAILURE() << tool << " is missing: run scripts/install-deps (dbus, python3-dbusmock)";
      return;
    }
  }
  std::string config = kConfig;
  config.replace(config.find("@FOLDER@"), 8, folder_.path().string());
  folder_.write("bus.conf", config);

  int addressPipe[2];
  if (::pipe2(addressPipe, O_CLOEXEC) != 0) {
    ADD_FAILURE() << "pipe failed";
    return;
  }
  std::string log = (folder_.path() / "dbus-daemon.log").string();
  int errors = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  daemon_ = spawn({kDaemon, "--config-file=" + (folder_.path() / "bus.conf").string(), "--nofork",
                   "--nopidfile", "--print-address=1"},
                  addressPipe[1], errors);
  ::close(addressPipe[1]);
  ::close(errors);
  std::string line;
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (line.find('\n') == std::string::npos && std::chrono::steady_clock::now() < deadline) {
    pollfd ready{addressPipe[0], POLLIN, 0};
    if (::poll(&ready, 1, 100) <= 0) continue;
    char buffer[256];
    ssize_t n = ::read(addressPipe[0], buffer, sizeof buffer);
    if (n <= 0) break;
    line.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(addressPipe[0]);
  if (line.find('\n') == std::string::npos) {
    ADD_FAILURE() << "dbus-daemon did not tell its address in time:\n" << contents(log);
    return;
  }
  address_ = line.substr(0, line.find('\n'));

  if (const char* previous = ::getenv("DBUS_SYSTEM_BUS_ADDRESS")) previousAddress_ = previous;
  ::setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
  if (sd_bus_open_system(&client_) < 0) {
    client_ = nullptr;
    ADD_FAILURE() << "cannot connect to the private bus at " << address_;
  }
}

PrivateSystemBus::~PrivateSystemBus() {
  if (client_) sd_bus_flush_close_unref(client_);
  for (const auto& [name, pid] : mocks_) terminate(pid);
  terminate(daemon_);
  if (previousAddress_) {
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", previousAddress_->c_str(), 1);
  } else {
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  }
}

pid_t PrivateSystemBus::spawn(const std::vector<std::string>& arguments, int outputFd,
                              int errorFd) {
  std::vector<char*> argv;
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, outputFd, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errorFd, STDERR_FILENO);
  pid_t pid = -1;
  int error = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    ADD_FAILURE() << "cannot start " << arguments[0];
    return -1;
  }
  return pid;
}

bool PrivateSystemBus::startMock(const std::string& name,
                                 const std::vector<std::string>& arguments) {
  if (!running()) return false;
  std::string log = (folder_.path() / (name + ".log")).string();
  int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  std::vector<std::string> command = {kPython, "-m", "dbusmock", "--system"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  pid_t pid = spawn(command, output, output);
  ::close(output);
  if (pid <= 0) return false;
  mocks_[name] = pid;
  bool owned =
      eventually([&] { return hasOwner(name) || ::waitpid(pid, nullptr, WNOHANG) == pid; }) &&
      hasOwner(name);
  if (!owned)
    ADD_FAILURE() << "the mock of " << name << " did not own its name:\n" << contents(log);
  return owned;
}

bool PrivateSystemBus::stopMock(const std::string& name) {
  auto found = mocks_.find(name);
  if (found == mocks_.end()) return false;
  terminate(found->second);
  mocks_.erase(found);
  bool freed = eventually([&] { return !hasOwner(name); });
  if (!freed) ADD_FAILURE() << name << " kept its owner after its mock ended";
  return freed;
}

bool PrivateSystemBus::call(const char* service, const char* path, const char* interface,
                            const char* method, const char* types, ...) {
  if (!running()) return false;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  va_list arguments;
  va_start(arguments, types);
  int result = sd_bus_call_methodv(client_, service, path, interface, method, &error, nullptr,
                                   types, arguments);
  va_end(arguments);
  if (result < 0) {
    ADD_FAILURE() << method << " on " << path
                  << " failed: " << (error.message ? error.message : "no answer");
  }
  sd_bus_error_free(&error);
  return result >= 0;
}

bool PrivateSystemBus::hasOwner(const std::string& name) const {
  if (!running()) return false;
  sd_bus_message* reply = nullptr;
  int owned = 0;
  if (sd_bus_call_method(client_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                         name.c_str()) >= 0) {
    sd_bus_message_read(reply, "b", &owned);
  }
  sd_bus_message_unref(reply);
  return owned != 0;
}

std::string PrivateSystemBus::supportFile(const std::string& name) {
  return std::string(QUORVEL_TEST_SUPPORT_DIR) + "/" + name;
}

bool PrivateSystemBus::eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace quorvel::testing
