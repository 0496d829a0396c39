#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel {

// One connection to the system or the session bus, with the few calls the D-Bus adapters make:
// method calls with a bounded timeout, name owners and property dictionaries. Not thread-safe: one
// thread uses it.
class SdBus {
 public:
  struct MessageUnref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

  // A property's value; every integer type is widened, object paths are strings.
  using Value = std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>>;
  using Properties = std::map<std::string, Value>;

  // Connects to the system bus ($DBUS_SYSTEM_BUS_ADDRESS when set); no value when it cannot.
  static std::optional<SdBus> openSystem(std::uint64_t callTimeoutMicroseconds);
  // Connects to the session bus ($DBUS_SESSION_BUS_ADDRESS when set); no value when it cannot.
  static std::optional<SdBus> openSession(std::uint64_t callTimeoutMicroseconds);

  SdBus(SdBus&&) noexcept = default;
  SdBus& operator=(SdBus&&) noexcept = default;

  sd_bus* get() const { return bus_.get(); }

  // Calls method with no argument or one string argument; null on an error or timeout.
  Message call(const char* service, const char* path, const char* interface, const char* method,
               const char* argument = nullptr) const;
  bool hasOwner(const char* name) const;
  // Properties.GetAll; no value when the call fails.
  std::optional<Properties> getAll(const char* service, const char* path,
                                   const char* interface) const;

  // Reads an a{sv} at the message's position; values of other types are skipped. False when the
  // message holds no such dictionary there.
  static bool readProperties(sd_bus_message* message, Properties& into);

  static std::string text(const Properties& properties, const std::string& key);
  static std::optional<std::int64_t> integer(const Properties& properties, const std::string& key);
  static std::optional<double> number(const Properties& properties, const std::string& key);
  static std::optional<bool> flag(const Properties& properties, const std::string& key);
  // An array of strings or object paths; no value when the property is absent.
  static std::optional<std::vector<std::string>> texts(const Properties& properties,
                                                       const std::string& key);

 private:
  struct BusUnref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
  };
  explicit SdBus(sd_bus* bus) : bus_(bus) {}
  static std::optional<SdBus> open(int (*connect)(sd_bus**), std::uint64_t callTimeoutMicroseconds);

  std::unique_ptr<sd_bus, BusUnref> bus_;
};

}  // namespace quorvel
