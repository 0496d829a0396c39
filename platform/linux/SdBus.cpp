#include "linux/SdBus.h"

#include <cstdlib>
#include <cstring>

namespace quorvel {

namespace {

// Reads one variant's contents, whose signature is type; false when it is not a kind we keep.
bool readValue(sd_bus_message* message, const char* type, SdBus::Value& value) {
  if (std::strlen(type) == 1) {
    switch (type[0]) {
      case 'b': {
        int v = 0;
        if (sd_bus_message_read_basic(message, 'b', &v) < 0) return false;
        value = v != 0;
        return true;
      }
      case 'y': {
        std::uint8_t v = 0;
        if (sd_bus_message_read_basic(message, 'y', &v) < 0) return false;
        value = std::int64_t{v};
        return true;
      }
      case 'n':
      case 'q':
      case 'i':
      case 'u':
      case 'x':
      case 't': {
        union {
          std::int16_t n;
          std::uint16_t q;
          std::int32_t i;
          std::uint32_t u;
          std::int64_t x;
          std::uint64_t t;
        } v{};
        if (sd_bus_message_read_basic(message, type[0], &v) < 0) return false;
        std::int64_t widened = type[0] == 'n'   ? v.n
                               : type[0] == 'q' ? v.q
                               : type[0] == 'i' ? v.i
                               : type[0] == 'u' ? v.u
                               : type[0] == 'x' ? v.x
                                                : static_cast<std::int64_t>(v.t);
        value = widened;
        return true;
      }
      case 'd': {
        double v = 0;
        if (sd_bus_message_read_basic(message, 'd', &v) < 0) return false;
        value = v;
        return true;
      }
      case 's':
      case 'o': {
        const char* v = nullptr;
        if (sd_bus_message_read_basic(message, type[0], &v) < 0) return false;
        value = std::string(v ? v : "");
        return true;
      }
      default:
        return false;
    }
  }
  if (std::strcmp(type, "as") == 0 || std::strcmp(type, "ao") == 0) {
    char** strings = nullptr;
    if (sd_bus_message_read_strv(message, &strings) < 0) return false;
    std::vector<std::string> list;
    for (char** s = strings; s && *s; ++s) {
      list.emplace_back(*s);
      std::free(*s);
    }
    std::free(strings);
    value = std::move(list);
    return true;
  }
  return false;
}

template <class T>
const T* find(const SdBus::Properties& properties, const std::string& key) {
  auto it = properties.find(key);
  return it == properties.end() ? nullptr : std::get_if<T>(&it->second);
}

}  // namespace

std::optional<SdBus> SdBus::open(int (*connect)(sd_bus**), std::uint64_t callTimeoutMicroseconds) {
  sd_bus* bus = nullptr;
  if (connect(&bus) < 0) return std::nullopt;
  SdBus opened(bus);
  sd_bus_set_method_call_timeout(bus, callTimeoutMicroseconds);
  return opened;
}

std::optional<SdBus> SdBus::openSystem(std::uint64_t callTimeoutMicroseconds) {
  return open(sd_bus_open_system, callTimeoutMicroseconds);
}

std::optional<SdBus> SdBus::openSession(std::uint64_t callTimeoutMicroseconds) {
  return open(sd_bus_open_user, callTimeoutMicroseconds);
}

SdBus::Message SdBus::call(const char* service, const char* path, const char* interface,
                           const char* method, const char* argument) const {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* reply = nullptr;
  int result = argument ? sd_bus_call_method(bus_.get(), service, path, interface, method, &error,
                                             &reply, "s", argument)
                        : sd_bus_call_method(bus_.get(), service, path, interface, method, &error,
                                             &reply, "");
  sd_bus_error_free(&error);
  if (result < 0) return nullptr;
  return Message(reply);
}

bool SdBus::hasOwner(const char* name) const {
  Message reply = call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                       "NameHasOwner", name);
  int owned = 0;
  return reply && sd_bus_message_read(reply.get(), "b", &owned) >= 0 && owned != 0;
}

std::optional<SdBus::Properties> SdBus::getAll(const char* service, const char* path,
                                               const char* interface) const {
  Message reply = call(service, path, "org.freedesktop.DBus.Properties", "GetAll", interface);
  Properties properties;
  if (!reply || !readProperties(reply.get(), properties)) return std::nullopt;
  return properties;
}

bool SdBus::readProperties(sd_bus_message* message, Properties& into) {
  if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) return false;
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* key = nullptr;
    const char* type = nullptr;
    if (sd_bus_message_read_basic(message, 's', &key) < 0 ||
        sd_bus_message_peek_type(message, nullptr, &type) < 0 ||
        sd_bus_message_enter_container(message, 'v', type) < 0) {
      return false;
    }
    Value value;
    if (readValue(message, type, value)) {
      into[key] = std::move(value);
    } else if (sd_bus_message_skip(message, type) < 0) {
      return false;
    }
    if (sd_bus_message_exit_container(message) < 0 || sd_bus_message_exit_container(message) < 0) {
      return false;
    }
  }
  return sd_bus_message_exit_container(message) >= 0;
}

std::string SdBus::text(const Properties& properties, const std::string& key) {
  const auto* value = find<std::string>(properties, key);
  return value ? *value : std::string();
}

std::optional<std::int64_t> SdBus::integer(const Properties& properties, const std::string& key) {
  const auto* value = find<std::int64_t>(properties, key);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<double> SdBus::number(const Properties& properties, const std::string& key) {
  const auto* value = find<double>(properties, key);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<bool> SdBus::flag(const Properties& properties, const std::string& key) {
  const auto* value = find<bool>(properties, key);
  return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::vector<std::string>> SdBus::texts(const Properties& properties,
                                                     const std::string& key) {
  const auto* value = find<std::vector<std::string>>(properties, key);
  return value ? std::optional(*value) : std::nullopt;
}

}  // namespace quorvel
