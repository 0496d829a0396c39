#include "device/DeviceInfoHelper.h"

#include <cctype>
#include <cmath>
#include <sstream>

#include "device/ByteCountFormatter.h"
#include "device/Model.h"
#include "quorvel/Fatal.h"
#include "quorvel/Version.h"
#include "support/JsonText.h"
#include "support/Timestamp.h"
#include "support/Utf8.h"

namespace quorvel {

namespace {

// Empty strings count as absent: the key is left out.
void putText(Dictionary& record, const char* key, const std::string& value) {
  if (!value.empty()) record[key] = value;
}

std::string lowercased(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string uppercased(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

const char* thermalStateName(int state) {
  switch (state) {
    case ThermalState::nominal:
      return "nominal";
    case ThermalState::fair:
      return "fair";
    case ThermalState::serious:
      return "serious";
    case ThermalState::critical:
      return "critical";
    default:
      return "unknown";
  }
}

const char* batteryStateName(BatteryState state) {
  switch (state) {
    case BatteryState::unplugged:
      return "unplugged";
    case BatteryState::charging:
      return "charging";
    case BatteryState::full:
      return "full";
    default:
      return "unknown";
  }
}

Dictionary receivedIds(const DeviceIdentifiers& identifiers) {
  Dictionary ids = Dictionary::object();
  if (hasText(identifiers.imei)) {
    ids["imei_values"] = Dictionary::array({removingWhitespace(*identifiers.imei)});
  }
  if (hasText(identifiers.imeiImageUrl)) {
    ids["imei_image_url"] = Dictionary::array({*identifiers.imeiImageUrl});
  }
  if (hasText(identifiers.serialNumber)) {
    ids["serial_number"] = removingWhitespace(*identifiers.serialNumber);
  }
  if (hasText(identifiers.serialNumberImageUrl)) {
    ids["serial_number_image_url"] = Dictionary::array({*identifiers.serialNumberImageUrl});
  }
  return ids;
}

Dictionary carrierRecord(const Carrier& carrier) {
  Dictionary record = Dictionary::object();
  putText(record, "carrier_name", carrier.carrierName);
  record["allows_voip"] = carrier.allowsVOIP;
  putText(record, "iso_country_code", carrier.isoCountryCode);
  putText(record, "mobile_country_code", carrier.mobileCountryCode);
  putText(record, "mobile_network_code", carrier.mobileNetworkCode);
  return record;
}

}  // namespace

std::string DeviceInfoHelper::modelIdentifier(const Device& device) {
  if (auto simulated = device.environmentVariable("SIMULATOR_MODEL_IDENTIFIER")) return *simulated;
  std::string machine = device.unameMachine();
  auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  std::size_t first = 0;
  std::size_t last = machine.size();
  while (first < last && isControl(machine[first])) ++first;
  while (last > first && isControl(machine[last - 1])) --last;
  return machine.substr(first, last - first);
}

std::int64_t DeviceInfoHelper::usedDiskSpaceInBytes(const Device& device) {
  return device.totalDiskSpaceInBytes() - device.freeDiskSpaceInBytes();
}

std::string DeviceInfoHelper::roundDiskSpace(const std::string& formattedTotal) {
  std::istringstream pieces(formattedTotal);
  std::string first;
  // Splitting on spaces drops empty pieces, as the formatted text never starts with one.
  while (std::getline(pieces, first, ' ') && first.empty()) {
  }
  if (first.empty()) QUORVEL_FATAL("no number in the disk size \"" + formattedTotal + "\"");
  auto value = ByteCountFormatter().parse(first);
  if (!value) QUORVEL_FATAL("the disk size \"" + formattedTotal + "\" does not parse");
  return std::to_string(static_cast<long long>(std::ceil(*value))) + " GB";
}

Dictionary DeviceInfoHelper::getDeviceInfo(Device& device, const HostBundle& host,
                                           const DeviceIdentifiers& identifiers) {
  ByteCountFormatter bytes;

  Dictionary record = Dictionary::object();
  record["device_info_version"] = "2";
  record["received_ids"] = receivedIds(identifiers);
  if (auto vendor = device.identifierForVendor(); hasText(vendor)) {
    record["detected_ids"] = {{"vendor_id", uppercased(*vendor)}};
  }
  record["brand"] = device.brand();
  std::string model = device.model();
  putText(record, "device_model", model);
  putText(record, "device_model_identifier", modelIdentifier(device));
  putText(record, "device_model_commercial", std::string(rawValue(currentDeviceType(device))));
  putText(record, "device_name", device.name());
  std::string kind = lowercased(model);
  if (kind.find("iphone") != std::string::npos) {
    record["device_type"] = "smartphone";
  } else if (kind.find("ipad") != std::string::npos) {
    record["device_type"] = "tablet";
  } else {
    putText(record, "device_type", model);
  }
  putText(record, "os_name", device.systemName());
  putText(record, "os_version", device.systemVersion());
  putText(record, "os_version_detailed", device.operatingSystemVersionString());
  record["uptime"] = device.systemUptime();
  if (auto version = host.string("CFBundleShortVersionString")) record["app_version"] = *version;
  if (auto build = host.string("CFBundleVersion")) record["app_build_number"] = *build;
  record["sdk_version_build"] = QuorvelVersionString;
  record["processor_count"] = device.processorCount();
  record["active_processor_count"] = device.activeProcessorCount();
  putText(record, "process_name", device.processName());
  record["ram_total"] = bytes.megabytes(static_cast<std::int64_t>(device.physicalMemory()));
  std::string total = bytes.gigabytes(device.totalDiskSpaceInBytes());
  record["total_disk_space"] = total;
  record["used_disk_space"] = bytes.gigabytes(usedDiskSpaceInBytes(device));
  record["free_disk_space"] = bytes.gigabytes(device.freeDiskSpaceInBytes());
  record["round_disk_space"] = roundDiskSpace(total);
  record["thermal_state"] = thermalStateName(device.thermalState());
  device.setBatteryMonitoringEnabled(true);
  record["battery_state"] = batteryStateName(device.batteryState());
  record["battery_level"] = floatValue(device.batteryLevel());

  // Without a provider dictionary the record ends here, with neither carriers nor timestamp.
  auto providers = device.cellularProviders();
  if (!providers) return record;
  Dictionary carriers = Dictionary::array();
  for (const auto& [subscription, carrier] : *providers) carriers.push_back(carrierRecord(carrier));
  record["carriers"] = carriers;
  putText(record, "timestamp", currentTimestamp());
  return record;
}

}  // namespace quorvel
