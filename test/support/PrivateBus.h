#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TemporaryTree.h"

namespace quorvel::testing {

// A dbus-daemon of its own in a temporary folder, made the system or the session bus of this
// process (and of the programs it starts) through DBUS_SYSTEM_BUS_ADDRESS or
// DBUS_SESSION_BUS_ADDRESS, with python-dbusmock services on it. Everything it started is killed
// when it goes, and the previous address comes back.
class PrivateBus {
 public:
  enum class Kind { system, session };

  explicit PrivateBus(Kind kind = Kind::system);
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  // False when the bus could not start; the reason went to the test's failures.
  bool running() const { return client_ != nullptr; }
  const std::string& address() const { return address_; }

  // Starts `python3 -m dbusmock [--system] arguments...` and waits until it owns name.
  bool startMock(const std::string& name, const std::vector<std::string>& arguments);
  // Kills the service that owns name and waits until the name is free.
  bool stopMock(const std::string& name);

  // Calls a method on the bus (sd_bus_call_method's types and arguments); failures are reported
  // with the bus's error.
  bool call(const char* service, const char* path, const char* interface, const char* method,
            const char* types, ...);
  bool hasOwner(const std::string& name) const;
  // Starts UPower's mock with a battery display device in state (UPower's code) at percentage.
  bool startUPower(std::uint32_t state, double percentage);

  // Where support files (mock templates) live.
  static std::string supportFile(const std::string& name);

  // Polls condition until it holds, for at most ten seconds.
  static bool eventually(const std::function<bool()>& condition);

 private:
  // The environment variable that names the bus of kind_.
  const char* variable() const;

  Kind kind_;
  TemporaryTree folder_{"quorvel-bus"};
  std::optional<std::string> previousAddress_;
  std::string address_;
  ChildProcess daemon_;
  std::map<std::string, ChildProcess> mocks_;
  sd_bus* client_ = nullptr;
};

}  // namespace quorvel::testing
