#include "linux/ModemManagerCarriers.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>

#include "linux/MobileCountryCodes.h"
#include "linux/SdBus.h"

namespace quorvel {

namespace {

constexpr const char* kService = "org.freedesktop.ModemManager1";
constexpr const char* kManager = "/org/freedesktop/ModemManager1";
constexpr const char* kModemPrefix = "/org/freedesktop/ModemManager1/Modem/";
constexpr const char* kModemInterface = "org.freedesktop.ModemManager1.Modem";
constexpr const char* kModem3gppInterface = "org.freedesktop.ModemManager1.Modem.Modem3gpp";
constexpr const char* kSimInterface = "org.freedesktop.ModemManager1.Sim";
// The record is built synchronously: a hung ModemManager must not hold it for long.
constexpr std::uint64_t kCallTimeoutMicroseconds = 1'000'000;

using Interfaces = std::map<std::string, SdBus::Properties>;

struct Modem {
  unsigned long index = 0;
  SdBus::Properties modem;
  SdBus::Properties modem3gpp;
};

// GetManagedObjects' a{oa{sa{sv}}}, the modem objects only.
std::optional<std::vector<Modem>> readModems(sd_bus_message* reply) {
  std::vector<Modem> modems;
  if (sd_bus_message_enter_container(reply, 'a', "{oa{sa{sv}}}") <= 0) return std::nullopt;
  while (sd_bus_message_enter_container(reply, 'e', "oa{sa{sv}}") > 0) {
    const char* path = nullptr;
    if (sd_bus_message_read_basic(reply, 'o', &path) < 0 ||
        sd_bus_message_enter_container(reply, 'a', "{sa{sv}}") < 0) {
      return std::nullopt;
    }
    Interfaces interfaces;
    while (sd_bus_message_enter_container(reply, 'e', "sa{sv}") > 0) {
      const char* interface = nullptr;
      if (sd_bus_message_read_basic(reply, 's', &interface) < 0 ||
          !SdBus::readProperties(reply, interfaces[interface]) ||
          sd_bus_message_exit_container(reply) < 0) {
        return std::nullopt;
      }
    }
    if (sd_bus_message_exit_container(reply) < 0 || sd_bus_message_exit_container(reply) < 0) {
      return std::nullopt;
    }
    std::string_view name(path);
    if (!name.starts_with(kModemPrefix) || !interfaces.contains(kModemInterface)) continue;
    std::string_view number = name.substr(std::string_view(kModemPrefix).size());
    Modem modem;
    auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), modem.index);
    if (error != std::errc() || end != number.data() + number.size()) continue;
    modem.modem = std::move(interfaces[kModemInterface]);
    modem.modem3gpp = std::move(interfaces[kModem3gppInterface]);
    modems.push_back(std::move(modem));
  }
  std::sort(modems.begin(), modems.end(),
            [](const Modem& a, const Modem& b) { return a.index < b.index; });
  return modems;
}

// The SIM paths that may hold a subscription, in slot order, and which one is the primary.
std::vector<std::pair<std::string, bool>> simsOf(const Modem& modem) {
  std::string primarySim = SdBus::text(modem.modem, "Sim");
  auto slots = SdBus::texts(modem.modem, "SimSlots").value_or(std::vector<std::string>{});
  std::vector<std::pair<std::string, bool>> sims;
  if (slots.empty()) {
    if (!primarySim.empty() && primarySim != "/") sims.emplace_back(primarySim, true);
    return sims;
  }
  // PrimarySimSlot counts from 1; 0 means the modem does not tell.
  auto primarySlot = SdBus::integer(modem.modem, "PrimarySimSlot").value_or(0);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (slots[i] == "/") continue;
    bool primary = slots[i] == primarySim || static_cast<std::int64_t>(i + 1) == primarySlot;
    sims.emplace_back(slots[i], primary);
  }
  return sims;
}

bool isMccMnc(const std::string& code) {
  return (code.size() == 5 || code.size() == 6) &&
         std::all_of(code.begin(), code.end(), [](char c) { return std::isdigit(c) != 0; });
}

Carrier carrierOf(const SdBus::Properties& sim, const Modem& modem, bool primary) {
  Carrier carrier;
  carrier.carrierName = SdBus::text(sim, "OperatorName");
  std::string code = SdBus::text(sim, "OperatorIdentifier");
  // A SIM that tells nothing of its home network is described by the network the modem is on,
  // which is the primary SIM's.
  if (primary && carrier.carrierName.empty()) {
    carrier.carrierName = SdBus::text(modem.modem3gpp, "OperatorName");
  }
  if (primary && !isMccMnc(code)) code = SdBus::text(modem.modem3gpp, "OperatorCode");
  if (isMccMnc(code)) {
    carrier.mobileCountryCode = code.substr(0, 3);
    carrier.mobileNetworkCode = code.substr(3);
    carrier.isoCountryCode = MobileCountryCodes::isoCountry(carrier.mobileCountryCode);
  }
  // ModemManager does not know whether the carrier allows calls over data; say no.
  carrier.allowsVOIP = false;
  return carrier;
}

}  // namespace

std::optional<std::vector<std::pair<std::string, Carrier>>> ModemManagerCarriers::read() {
  auto bus = SdBus::openSystem(kCallTimeoutMicroseconds);
  if (!bus || !bus->hasOwner(kService)) return std::nullopt;
  SdBus::Message reply =
      bus->call(kService, kManager, "org.freedesktop.DBus.ObjectManager", "GetManagedObjects");
  if (!reply) return std::nullopt;
  auto modems = readModems(reply.get());
  if (!modems) return std::nullopt;
  std::vector<std::pair<std::string, Carrier>> carriers;
  for (const Modem& modem : *modems) {
    for (const auto& [path, primary] : simsOf(modem)) {
      // ModemManager does not list SIMs among its managed objects: each is asked on its own.
      auto sim = bus->getAll(kService, path.c_str(), kSimInterface).value_or(SdBus::Properties{});
      if (SdBus::flag(sim, "Active") == false) continue;
      carriers.emplace_back(path, carrierOf(sim, modem, primary));
    }
  }
  return carriers;
}

}  // namespace quorvel
