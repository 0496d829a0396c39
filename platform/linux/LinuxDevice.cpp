#include "linux/LinuxDevice.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <pwd.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <utility>

#include "linux/ModemManagerCarriers.h"
#include "quorvel/platform/Platform.h"
#include "support/MainQueueCheck.h"

namespace quorvel {

namespace {

// Fixed so that every Quorvel build derives the same identifier on the same machine, and a
// different one from any other application reading the same machine-id.
constexpr std::array<unsigned char, 16> kApplicationId = {
    0x07, 0xc1, 0xb0, 0x38, 0x4c, 0x26, 0x45, 0x84, 0x9b, 0xcc, 0x2d, 0x1c, 0x75, 0xfb, 0x45, 0x0c};

std::optional<std::string> readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Sysfs values end in a newline and device-tree strings in a NUL.
std::string trimmed(std::string_view text) {
  auto blank = [](char c) { return c == '\0' || std::isspace(static_cast<unsigned char>(c)); };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return std::string(text);
}

std::string readTrimmed(const std::string& path) { return trimmed(readFile(path).value_or("")); }

std::string capitalised(std::string word) {
  if (!word.empty()) word[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(word[0])));
  return word;
}

// SMBIOS chassis type codes.
std::string chassisFromDmi(const std::string& code) {
  int value = 0;
  auto [next, error] = std::from_chars(code.data(), code.data() + code.size(), value);
  if (error != std::errc() || code.empty() || next != code.data() + code.size()) return {};
  switch (value) {
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 13:
    case 15:
    case 16:
    case 24:
      return "Desktop";
    case 8:
    case 9:
    case 10:
    case 14:
    case 31:
    case 32:
      return "Laptop";
    case 30:
      return "Tablet";
    case 11:
      return "Handheld";
    case 17:
    case 23:
    case 25:
    case 28:
    case 29:
      return "Server";
    default:
      return {};
  }
}

std::string chassisFromDeviceTree(const std::string& type) {
  if (type.empty()) return {};
  if (type == "handset") return "Phone";
  if (type == "tablet") return "Tablet";
  if (type == "laptop" || type == "convertible") return "Laptop";
  if (type == "desktop") return "Desktop";
  if (type == "server") return "Server";
  return capitalised(type);
}

// One shell-style value of os-release: quoted, with backslash escapes, or bare.
std::string unquoted(std::string_view raw) {
  std::string value;
  char quote = 0;
  if (!raw.empty() && (raw.front() == '"' || raw.front() == '\'')) {
    quote = raw.front();
    raw.remove_prefix(1);
  }
  for (std::size_t i = 0; i < raw.size(); ++i) {
    char c = raw[i];
    if (quote != 0 && c == quote) break;
    if (quote == 0 && std::isspace(static_cast<unsigned char>(c))) break;
    if (c == '\\' && quote != '\'' && i + 1 < raw.size()) c = raw[++i];
    value += c;
  }
  return value;
}

std::optional<std::array<unsigned char, 16>> machineIdBytes(const std::string& text) {
  if (text.size() != 32) return std::nullopt;
  std::array<unsigned char, 16> bytes{};
  bool allZero = true;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    unsigned value = 0;
    auto [next, error] = std::from_chars(text.data() + 2 * i, text.data() + 2 * i + 2, value, 16);
    if (error != std::errc() || next != text.data() + 2 * i + 2) return std::nullopt;
    bytes[i] = static_cast<unsigned char>(value);
    allZero = allZero && value == 0;
  }
  // An all-zero id is what an unset machine reports; it identifies nothing.
  if (allZero) return std::nullopt;
  return bytes;
}

struct DiskSizes {
  std::int64_t total = 0;
  std::int64_t available = 0;
};

DiskSizes diskSizes(const std::string& path) {
  struct statvfs info {};
  if (path.empty() || ::statvfs(path.c_str(), &info) != 0) return {};
  return {static_cast<std::int64_t>(info.f_blocks) * static_cast<std::int64_t>(info.f_frsize),
          static_cast<std::int64_t>(info.f_bavail) * static_cast<std::int64_t>(info.f_frsize)};
}

}  // namespace

LinuxDevice::LinuxDevice() : LinuxDevice(Roots{}) {}

LinuxDevice::LinuxDevice(Roots roots)
    : roots_(std::move(roots)), thermal_(roots_.sys), battery_(roots_.sys) {}

LinuxDevice::~LinuxDevice() {
  upower_.reset();
  if (batteryPoll_) batteryPoll_->cancel();
}

std::string LinuxDevice::model() const {
  std::string kind = chassisFromDmi(readTrimmed(roots_.sys + "/class/dmi/id/chassis_type"));
  if (kind.empty()) {
    kind =
        chassisFromDeviceTree(readTrimmed(roots_.sys + "/firmware/devicetree/base/chassis-type"));
  }
  return kind.empty() ? "Computer" : kind;
}

std::string LinuxDevice::name() const {
  char host[HOST_NAME_MAX + 1] = {};
  if (::gethostname(host, sizeof host - 1) != 0) return {};
  return host;
}

std::string LinuxDevice::brand() const {
  std::string vendor = readTrimmed(roots_.sys + "/class/dmi/id/sys_vendor");
  if (!vendor.empty()) return vendor;
  // "compatible" lists "vendor,board" strings, most specific first.
  std::string compatible =
      readFile(roots_.sys + "/firmware/devicetree/base/compatible").value_or("");
  std::string first = trimmed(compatible.substr(0, compatible.find('\0')));
  auto comma = first.find(',');
  if (comma != std::string::npos) return capitalised(first.substr(0, comma));
  // A machine that does not tell its maker (a virtual machine, a container) is named after its
  // operating system's vendor, so the record always says whose system it is.
  std::string osVendor = osReleaseField("VENDOR_NAME");
  return osVendor.empty() ? systemName() : osVendor;
}

std::string LinuxDevice::osReleaseField(const std::string& key) const {
  auto text = readFile(roots_.etc + "/os-release");
  if (!text && roots_.etc == "/etc") text = readFile("/usr/lib/os-release");
  if (!text) return {};
  std::istringstream lines(*text);
  std::string line;
  while (std::getline(lines, line)) {
    std::string entry = trimmed(line);
    if (entry.empty() || entry.front() == '#') continue;
    auto equals = entry.find('=');
    if (equals == std::string::npos || trimmed(entry.substr(0, equals)) != key) continue;
    return unquoted(trimmed(std::string_view(entry).substr(equals + 1)));
  }
  return {};
}

std::string LinuxDevice::systemName() const {
  std::string value = osReleaseField("NAME");
  // os-release's documented default when NAME is not set.
  return value.empty() ? "Linux" : value;
}

std::string LinuxDevice::systemVersion() const { return osReleaseField("VERSION_ID"); }

std::string LinuxDevice::operatingSystemVersionString() const {
  struct utsname info {};
  if (::uname(&info) != 0) return {};
  return std::string(info.sysname) + " " + info.release + " " + info.version;
}

std::optional<std::string> LinuxDevice::identifierForVendor() const {
  auto machineId = machineIdBytes(readTrimmed(roots_.etc + "/machine-id"));
  if (!machineId) return std::nullopt;
  // Derived the way systemd derives application-specific ids, so the raw machine-id never leaves
  // the machine.
  std::array<unsigned char, EVP_MAX_MD_SIZE> mac{};
  unsigned int macLength = 0;
  if (HMAC(EVP_sha256(), machineId->data(), static_cast<int>(machineId->size()),
           kApplicationId.data(), kApplicationId.size(), mac.data(), &macLength) == nullptr ||
      macLength < 16) {
    return std::nullopt;
  }
  mac[6] = static_cast<unsigned char>((mac[6] & 0x0F) | 0x40);
  mac[8] = static_cast<unsigned char>((mac[8] & 0x3F) | 0x80);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string uuid;
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) uuid += '-';
    uuid += kHex[mac[i] >> 4];
    uuid += kHex[mac[i] & 0x0F];
  }
  return uuid;
}

std::string LinuxDevice::unameMachine() const {
  struct utsname info {};
  if (::uname(&info) != 0) return {};
  // The whole field, terminating zeros included: the record trims it.
  return std::string(info.machine, sizeof info.machine);
}

std::optional<std::string> LinuxDevice::environmentVariable(const std::string& name) const {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

double LinuxDevice::systemUptime() const {
  std::string text = readTrimmed(roots_.proc + "/uptime");
  double seconds = 0;
  // from_chars ignores the process locale, whose decimal separator may not be '.'.
  auto [next, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || next == text.data()) return 0;
  return seconds;
}

int LinuxDevice::processorCount() const {
  long count = ::sysconf(_SC_NPROCESSORS_CONF);
  return count > 0 ? static_cast<int>(count) : 1;
}

int LinuxDevice::activeProcessorCount() const {
  long count = ::sysconf(_SC_NPROCESSORS_ONLN);
  return count > 0 ? static_cast<int>(count) : 1;
}

std::string LinuxDevice::processName() const {
  // argv[0]'s last component: comm is cut to 15 characters by the kernel.
  std::string commandLine = readFile(roots_.proc + "/self/cmdline").value_or("");
  std::string program = commandLine.substr(0, commandLine.find('\0'));
  program = program.substr(program.find_last_of('/') + 1);
  if (!program.empty()) return program;
  std::string comm = readTrimmed(roots_.proc + "/self/comm");
  return comm.empty() ? std::string(program_invocation_short_name) : comm;
}

std::uint64_t LinuxDevice::physicalMemory() const {
  std::istringstream lines(readFile(roots_.proc + "/meminfo").value_or(""));
  std::string line;
  while (std::getline(lines, line)) {
    constexpr std::string_view label = "MemTotal:";
    if (!line.starts_with(label)) continue;
    std::string number = trimmed(std::string_view(line).substr(label.size()));
    std::uint64_t kibibytes = 0;
    auto [next, error] = std::from_chars(number.data(), number.data() + number.size(), kibibytes);
    if (error == std::errc() && next != number.data()) return kibibytes * 1024;
    break;
  }
  struct sysinfo info {};
  if (::sysinfo(&info) != 0) return 0;
  return static_cast<std::uint64_t>(info.totalram) * info.mem_unit;
}

std::string LinuxDevice::homeDirectory() const {
  if (!roots_.home.empty()) return roots_.home;
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  struct passwd entry {};
  struct passwd* found = nullptr;
  std::array<char, 4096> buffer{};
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr || found->pw_dir == nullptr) {
    return {};
  }
  return found->pw_dir;
}

std::int64_t LinuxDevice::totalDiskSpaceInBytes() const { return diskSizes(homeDirectory()).total; }

std::int64_t LinuxDevice::freeDiskSpaceInBytes() const {
  return diskSizes(homeDirectory()).available;
}

std::string LinuxDevice::documentsDirectory() const {
  if (auto fromEnvironment = environmentVariable("XDG_DOCUMENTS_DIR");
      fromEnvironment && !fromEnvironment->empty()) {
    return *fromEnvironment;
  }
  std::string home = homeDirectory();
  auto configHome = environmentVariable("XDG_CONFIG_HOME");
  std::string config = (configHome && !configHome->empty()) ? *configHome : home + "/.config";
  // xdg-user-dirs writes lines such as XDG_DOCUMENTS_DIR="$HOME/Documents".
  std::ifstream dirs(config + "/user-dirs.dirs");
  std::string line;
  const std::string key = "XDG_DOCUMENTS_DIR=\"";
  while (std::getline(dirs, line)) {
    if (line.rfind(key, 0) != 0 || line.size() < key.size() + 1 || line.back() != '"') continue;
    std::string value = line.substr(key.size(), line.size() - key.size() - 1);
    if (value.rfind("$HOME", 0) == 0) value = home + value.substr(5);
    // A setting equal to $HOME means "no documents folder"; keep the documents separate.
    if (!value.empty() && value != home && value != home + "/") return value;
  }
  return home + "/Documents";
}

int LinuxDevice::thermalState() const { return thermal_.state(); }

bool LinuxDevice::isBatteryMonitoringEnabled() const { return batteryMonitoring_; }

void LinuxDevice::setBatteryMonitoringEnabled(bool enabled) {
  if (batteryMonitoring_.exchange(enabled) == enabled) return;
  if (!enabled) {
    upower_.reset();
    if (batteryPoll_) batteryPoll_->cancel();
    batteryPoll_.reset();
    return;
  }
  upower_ = UPowerBattery::start(
      [queue = platform().mainQueue, alive = std::weak_ptr<int>(alive_), this] {
        queue->async([alive, this] {
          if (alive.lock()) refreshBattery();
        });
      });
  // Read now, so that the first answer after switching on is already right.
  reported_ = currentBattery();
  if (!upower_ || !upower_->reading()) scheduleBatteryPoll();
}

UPowerBattery::Reading LinuxDevice::currentBattery() const {
  if (upower_) {
    if (auto reading = upower_->reading()) return *reading;
  }
  return {battery_.state(), battery_.level()};
}

void LinuxDevice::refreshBattery() {
  checkOnMainQueue("the battery refresh");
  if (!batteryMonitoring_) return;
  bool fromUPower = upower_ && upower_->reading();
  if (fromUPower && batteryPoll_) {
    batteryPoll_->cancel();
    batteryPoll_.reset();
  } else if (!fromUPower && !batteryPoll_) {
    scheduleBatteryPoll();
  }
  UPowerBattery::Reading now = currentBattery();
  bool stateChanged = now.state != reported_.state;
  bool levelChanged = now.level != reported_.level;
  reported_ = now;
  if (stateChanged) batteryDidChange(BatteryChange::state);
  if (levelChanged) batteryDidChange(BatteryChange::level);
}

void LinuxDevice::scheduleBatteryPoll() {
  // The queue only runs the poll while this device exists: the destructor cancels it.
  batteryPoll_ = platform().mainQueue->asyncAfter(kBatteryPollSeconds, [this] { pollBattery(); });
}

void LinuxDevice::pollBattery() {
  // Scheduled before the observers run, so that one switching monitoring off cancels it.
  scheduleBatteryPoll();
  refreshBattery();
}

BatteryState LinuxDevice::batteryState() const {
  return batteryMonitoring_ ? currentBattery().state : BatteryState::unknown;
}

float LinuxDevice::batteryLevel() const {
  return batteryMonitoring_ ? currentBattery().level : -1.0f;
}

std::optional<std::vector<std::pair<std::string, Carrier>>> LinuxDevice::cellularProviders() const {
  return ModemManagerCarriers::read();
}

}  // namespace quorvel
