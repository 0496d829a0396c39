#include "support/PrivateBus.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdarg>
#include <thread>

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
  <type>@KIND@</type>
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

}  // namespace

PrivateBus::PrivateBus(Kind kind) : kind_(kind) {
  for (const char* tool : {kPython, kDaemon}) {
    if (::access(tool, X_OK) != 0) {
      ADD_FAILURE() << tool << " is missing: run scripts/install-deps (dbus, python3-dbusmock)";
      return;
    }
  }
  std::string config = kConfig;
  config.replace(config.find("@FOLDER@"), 8, folder_.path().string());
  config.replace(config.find("@KIND@"), 6, kind == Kind::system ? "system" : "session");
  folder_.write("bus.conf", config);

  // dbus-daemon prints its address as the first line of its output.
  const std::string log = (folder_.path() / "dbus-daemon.log").string();
  daemon_ = ChildProcess({kDaemon, "--config-file=" + (folder_.path() / "bus.conf").string(),
                          "--nofork", "--nopidfile", "--print-address=1"},
                         {.output = log, .environment = std::nullopt});
  std::string line;
  if (!eventually([&] {
        line = fileContents(log);
        return line.starts_with("unix:") && line.find('\n') != std::string::npos;
      })) {
    ADD_FAILURE() << "dbus-daemon did not tell its address in time:\n" << line;
    return;
  }
  address_ = line.substr(0, line.find('\n'));

  if (const char* previous = ::getenv(variable())) previousAddress_ = previous;
  ::setenv(variable(), address_.c_str(), 1);
  const int opened =
      kind == Kind::system ? sd_bus_open_system(&client_) : sd_bus_open_user(&client_);
  if (opened < 0) {
    client_ = nullptr;
    ADD_FAILURE() << "cannot connect to the private bus at " << address_;
  }
}

PrivateBus::~PrivateBus() {
  if (client_) sd_bus_flush_close_unref(client_);
  for (auto& [name, mock] : mocks_) mock.stop(kPatience);
  daemon_.stop(kPatience);
  if (previousAddress_) {
    ::setenv(variable(), previousAddress_->c_str(), 1);
  } else {
    ::unsetenv(variable());
  }
}

const char* PrivateBus::variable() const {
  return kind_ == Kind::system ? "DBUS_SYSTEM_BUS_ADDRESS" : "DBUS_SESSION_BUS_ADDRESS";
}

bool PrivateBus::startMock(const std::string& name, const std::vector<std::string>& arguments) {
  if (!running()) return false;
  std::string log = (folder_.path() / (name + ".log")).string();
  std::vector<std::string> command = {kPython, "-m", "dbusmock"};
  if (kind_ == Kind::system) command.push_back("--system");
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess& mock = mocks_[name] =
      ChildProcess(command, {.output = log, .environment = std::nullopt});
  if (!mock.started()) {
    ADD_FAILURE() << "cannot start " << kPython;
    return false;
  }
  bool owned = eventually([&] { return hasOwner(name) || mock.exited(); }) && hasOwner(name);
  if (!owned)
    ADD_FAILURE() << "the mock of " << name << " did not own its name:\n" << fileContents(log);
  return owned;
}

bool PrivateBus::stopMock(const std::string& name) {
  auto found = mocks_.find(name);
  if (found == mocks_.end()) return false;
  found->second.stop(kPatience);
  mocks_.erase(found);
  bool freed = eventually([&] { return !hasOwner(name); });
  if (!freed) ADD_FAILURE() << name << " kept its owner after its mock ended";
  return freed;
}

bool PrivateBus::call(const char* service, const char* path, const char* interface,
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

bool PrivateBus::hasOwner(const std::string& name) const {
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

bool PrivateBus::startUPower(std::uint32_t state, double percentage) {
  const std::uint32_t battery = 2;
  return startMock("org.freedesktop.UPower", {"--template", "upower"}) &&
         call("org.freedesktop.UPower", "/org/freedesktop/UPower", "org.freedesktop.DBus.Mock",
              "SetupDisplayDevice", "uuddddxxbsu", battery, state, percentage, 0.0, 0.0, 0.0,
              std::int64_t{0}, std::int64_t{0}, 1, "", std::uint32_t{1});
}

std::string PrivateBus::supportFile(const std::string& name) {
  return std::string(QUORVEL_TEST_SUPPORT_DIR) + "/" + name;
}

bool PrivateBus::eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace quorvel::testing
