#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "device/CryptoHelper.h"
#include "device/DeviceInfoHelper.h"
#include "quorvel/QuorvelSDK.h"
#include "quorvel/Version.h"
#include "support/JsonText.h"
#include "support/SdkFixture.h"
#include "support/Timestamp.h"

namespace quorvel {
namespace {

using namespace std::string_literals;

std::set<std::string> keysOf(const Dictionary& record) {
  std::set<std::string> keys;
  for (const auto& [key, value] : record.items()) keys.insert(key);
  return keys;
}

std::string sha256Hex(const std::string& text) {
  return CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(text)));
}

class DeviceInfoTest : public testing::SdkFixture {
 protected:
  testing::ScriptedDevice& device() { return *env.device; }

  Dictionary collect(std::optional<std::string> imei = std::nullopt,
                     std::optional<std::string> serial = std::nullopt) {
    return DeviceInfoHelper::getDeviceInfo({imei, std::nullopt, serial, std::nullopt});
  }

  void setHostInfo(Dictionary info) {
    env.setHostInfo(std::move(info));
    env.install();
  }
};

TEST_F(DeviceInfoTest, FullDeviceGivesEveryKeyWithItsValue) {
  device().activeProcessors = 4;
  device().carriers.emplace();
  Dictionary record = collect();

  std::set<std::string> expectedKeys;
  std::istringstream names(
      "device_info_version received_ids detected_ids brand device_model device_model_identifier "
      "device_model_commercial device_name device_type os_name os_version os_version_detailed "
      "uptime app_version app_build_number sdk_version_build processor_count "
      "active_processor_count process_name ram_total total_disk_space used_disk_space "
      "free_disk_space round_disk_space thermal_state battery_state battery_level carriers "
      "timestamp");
  for (std::string key; names >> key;) expectedKeys.insert(key);
  EXPECT_EQ(keysOf(record), expectedKeys);

  EXPECT_EQ(record["device_info_version"], "2");
  EXPECT_EQ(record["received_ids"], Dictionary::object());
  EXPECT_EQ(record["detected_ids"],
            Dictionary({{"vendor_id", "0F8FAD5B-D9CB-469F-A165-70867728950E"}}));
  EXPECT_EQ(record["brand"], "Quorvel Labs");
  EXPECT_EQ(record["device_model"], "iPhone");
  EXPECT_EQ(record["device_model_identifier"], "iPhone13,2");
  EXPECT_EQ(record["device_model_commercial"], "iPhone 12");
  EXPECT_EQ(record["device_name"], "Test Device");
  EXPECT_EQ(record["device_type"], "smartphone");
  EXPECT_EQ(record["os_name"], "iOS");
  EXPECT_EQ(record["os_version"], "17.2");
  EXPECT_EQ(record["os_version_detailed"], "Version 17.2 (Build 21C62)");
  ASSERT_TRUE(record["uptime"].is_number_float());
  EXPECT_DOUBLE_EQ(record["uptime"].get<double>(), 12345.5);
  EXPECT_EQ(record["app_version"], "3.2.1");
  EXPECT_EQ(record["app_build_number"], "321");
  EXPECT_EQ(record["sdk_version_build"], std::string(QuorvelVersionString));
  ASSERT_TRUE(record["processor_count"].is_number_integer());
  EXPECT_EQ(record["processor_count"], 6);
  EXPECT_EQ(record["active_processor_count"], 4);
  EXPECT_EQ(record["process_name"], "HostApp");
  EXPECT_EQ(record["ram_total"], "5,900 MB");
  EXPECT_EQ(record["total_disk_space"], "63.86 GB");
  EXPECT_EQ(record["used_disk_space"], "43.86 GB");
  EXPECT_EQ(record["free_disk_space"], "20 GB");
  EXPECT_EQ(record["round_disk_space"], "64 GB");
  EXPECT_EQ(record["thermal_state"], "nominal");
  EXPECT_EQ(record["battery_state"], "charging");
  EXPECT_EQ(record["carriers"], Dictionary::array());
  EXPECT_EQ(record["timestamp"], "2024-03-01T10:15:30.123+0000");
}

TEST_F(DeviceInfoTest, DeviceTypeFollowsTheModel) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
      {"iPhone", "smartphone"}, {"iPad Pro", "tablet"},
      {"IPAD", "tablet"},       {"iPhone Simulator", "smartphone"},
      {"Laptop", "Laptop"},     {"Phone", "Phone"},
      {"", std::nullopt},
  };
  for (const auto& [model, type] : cases) {
    device().modelValue = model;
    Dictionary record = collect();
    if (type) {
      EXPECT_EQ(record.value("device_type", "(absent)"), *type) << model;
      EXPECT_EQ(record.value("device_model", "(absent)"), model);
    } else {
      EXPECT_FALSE(record.contains("device_type")) << "empty model";
      EXPECT_FALSE(record.contains("device_model")) << "empty model";
    }
  }
}

TEST_F(DeviceInfoTest, AppVersionsComeFromTheHostAndAreLeftOutWhenMissingOrEmpty) {
  struct Case {
    Dictionary info;
    std::optional<std::string> version;
    std::optional<std::string> build;
  };
  const std::vector<Case> cases = {
      {{{"CFBundleShortVersionString", "1.0"}, {"CFBundleVersion", "7"}}, "1.0", "7"},
      {Dictionary::object(), std::nullopt, std::nullopt},
      {{{"CFBundleShortVersionString", ""}, {"CFBundleVersion", "7"}}, std::nullopt, "7"},
      {{{"CFBundleShortVersionString", "2.0"}, {"CFBundleVersion", ""}}, "2.0", std::nullopt},
      {{{"CFBundleShortVersionString", 2}, {"CFBundleVersion", true}}, std::nullopt, std::nullopt},
  };
  for (const auto& c : cases) {
    setHostInfo(c.info);
    Dictionary record = collect();
    auto text = [&](const char* key) -> std::optional<std::string> {
      if (!record.contains(key)) return std::nullopt;
      return record[key].get<std::string>();
    };
    EXPECT_EQ(text("app_version"), c.version) << c.info.dump();
    EXPECT_EQ(text("app_build_number"), c.build) << c.info.dump();
    // The SDK's own version never comes from the host.
    EXPECT_EQ(record["sdk_version_build"], std::string(QuorvelVersionString));
  }
}

TEST_F(DeviceInfoTest, DiskTextsAndTheirRoundedTotal) {
  struct Case {
    std::int64_t total;
    std::int64_t free;
    const char* totalText;
    const char* usedText;
    const char* freeText;
    const char* rounded;
  };
  const Case cases[] = {
      {63'860'000'000, 20'000'000'000, "63.86 GB", "43.86 GB", "20 GB", "64 GB"},
      {64'000'000'000, 63'990'000'000, "64 GB", "0.01 GB", "63.99 GB", "64 GB"},
      {64'010'000'000, 10'000'000, "64.01 GB", "64 GB", "0.01 GB", "65 GB"},
      {1'234'500'000'000, 1'000'000'000'000, "1,234.5 GB", "234.5 GB", "1,000 GB", "1235 GB"},
      {0, 0, "0 GB", "0 GB", "0 GB", "0 GB"},
  };
  for (const auto& c : cases) {
    device().totalDisk = c.total;
    device().freeDisk = c.free;
    Dictionary record = collect();
    EXPECT_EQ(record["total_disk_space"], c.totalText) << c.total;
    EXPECT_EQ(record["used_disk_space"], c.usedText) << c.total;
    EXPECT_EQ(record["free_disk_space"], c.freeText) << c.total;
    EXPECT_EQ(record["round_disk_space"], c.rounded) << c.total;
  }
  EXPECT_EQ(DeviceInfoHelper::usedDiskSpaceInBytes(), 0);
  device().totalDisk = 500;
  device().freeDisk = 120;
  EXPECT_EQ(DeviceInfoHelper::totalDiskSpaceInBytes(), 500);
  EXPECT_EQ(DeviceInfoHelper::freeDiskSpaceInBytes(), 120);
  EXPECT_EQ(DeviceInfoHelper::usedDiskSpaceInBytes(), 380);
}

TEST(RoundDiskSpaceDeathTest, TextWithoutALeadingNumberIsFatal) {
  for (const char* text : {"", "   ", "GB 64", "sixty GB", "64GB"}) {
    EXPECT_DEATH(DeviceInfoHelper::roundDiskSpace(text), "disk size") << '"' << text << '"';
  }
}

TEST_F(DeviceInfoTest, BatteryIsReadAfterMonitoringIsEnabled) {
  const std::vector<std::pair<BatteryState, std::string>> states = {
      {BatteryState::unknown, "unknown"},        {BatteryState::unplugged, "unplugged"},
      {BatteryState::charging, "charging"},      {BatteryState::full, "full"},
      {static_cast<BatteryState>(9), "unknown"},
  };
  for (const auto& [state, name] : states) {
    device().monitoring = false;
    device().battery = state;
    Dictionary record = collect();
    EXPECT_TRUE(device().monitoring);
    EXPECT_EQ(record["battery_state"], name) << static_cast<int>(state);
  }
}

TEST_F(DeviceInfoTest, BatteryLevelIsTheShortestDecimalOfTheFloat) {
  const std::vector<std::pair<float, std::string>> levels = {
      {0.8f, "0.8"}, {0.15f, "0.15"}, {1.0f, "1.0"}, {-1.0f, "-1.0"}, {0.33333334f, "0.33333334"},
  };
  for (const auto& [level, text] : levels) {
    device().level = level;
    Dictionary record = collect();
    std::string json = record.dump();
    EXPECT_NE(json.find("\"battery_level\":" + text + ","), std::string::npos) << json;
    EXPECT_EQ(record["battery_level"].dump(), text);
    EXPECT_EQ(static_cast<float>(record["battery_level"].get<double>()), level);
  }
  device().level = 0.8f;
  EXPECT_EQ(collect().dump().find("0.800000011920929"), std::string::npos);
}

TEST_F(DeviceInfoTest, ModelIdentifierPrefersTheSimulatorVariableAndTrimsControlCharacters) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"iPhone13,2", std::nullopt, "iPhone13,2"},
      {"x86_64", "iPhone14,5", "iPhone14,5"},
      {"arm64", "iPad8,1", "iPad8,1"},
      {"x86_64\0\0\0\0"s, std::nullopt, "x86_64"},
      {"\t\nx86_64\r\x7f"s, std::nullopt, "x86_64"},
      {" x86_64 ", std::nullopt, " x86_64 "},
      {"x86_64", "", ""},
      {"\0\0"s, std::nullopt, ""},
  };
  for (const auto& c : cases) {
    device().machine = c.machine;
    device().environment.clear();
    if (c.simulated) device().environment["SIMULATOR_MODEL_IDENTIFIER"] = *c.simulated;
    EXPECT_EQ(DeviceInfoHelper::modelIdentifier(), c.expected) << c.machine;
  }

  device().machine = "x86_64";
  device().environment = {{"SIMULATOR_MODEL_IDENTIFIER", "iPhone13,2"}};
  Dictionary record = collect();
  EXPECT_EQ(record["device_model_identifier"], "iPhone13,2");
  EXPECT_EQ(record["device_model_commercial"], "iPhone 12");
}

// --- received_ids ---

TEST_F(DeviceInfoTest, ReceivedIdsStripWhitespaceAndLeaveOutWhatIsAbsent) {
  struct Case {
    const char* name;
    DeviceIdentifiers ids;
    Dictionary expected;
  };
  // clang-format off
  const std::vector<Case> cases = {
      {"nothing", {}, Dictionary::object()},
      {"empty strings count as absent", {"", "", "", ""}, Dictionary::object()},
      {"IMEI with blanks", {"49015 42032 37518", {}, {}, {}}, {{"imei_values", {"490154203237518"}}}},
      {"IMEI with tabs, newlines and a no-break space", {"\t490154\n20323\u00a07518 ", {}, {}, {}}, {{"imei_values", {"490154203237518"}}}},
      {"serial is a plain string without whitespace", {{}, {}, " C02 XK\t1\nJG5H ", {}}, {{"serial_number", "C02XK1JG5H"}}},
      {"photo addresses as one-element lists", {{}, "https://assets.example/imei.jpg", {}, "https://assets.example/serial.jpg"}, {{"imei_image_url", {"https://assets.example/imei.jpg"}}, {"serial_number_image_url", {"https://assets.example/serial.jpg"}}}},
      {"everything", {"490154203237518", "https://a/i", "F2LXK0ABC", "https://a/s"}, {{"imei_values", {"490154203237518"}}, {"imei_image_url", {"https://a/i"}}, {"serial_number", "F2LXK0ABC"}, {"serial_number_image_url", {"https://a/s"}}}},
  };
  // clang-format on
  for (const auto& c : cases) {
    Dictionary record = DeviceInfoHelper::getDeviceInfo(c.ids);
    ASSERT_TRUE(record.contains("received_ids")) << c.name;
    EXPECT_EQ(record["received_ids"], c.expected)
        << c.name << ": " << record["received_ids"].dump();
  }
}

// --- carriers and timestamp ---

TEST_F(DeviceInfoTest, NoProviderDictionaryStopsTheRecordBeforeCarriersAndTimestamp) {
  device().carriers.reset();
  Dictionary record = collect();
  EXPECT_FALSE(record.contains("carriers"));
  EXPECT_FALSE(record.contains("timestamp"));
  EXPECT_TRUE(record.contains("battery_level"));
}

TEST_F(DeviceInfoTest, TwoSimsGiveTwoRecordsInThePlatformsOrder) {
  device().carriers = std::vector<std::pair<std::string, Carrier>>{
      {"0000000100000002", Carrier{"Vodafone P", true, "pt", "268", "01"}},
      {"0000000100000001", Carrier{"Lyca", false, "", "", ""}},
  };
  Dictionary carriers = collect()["carriers"];
  ASSERT_EQ(carriers.size(), 2u);
  EXPECT_EQ(carriers[0], Dictionary({{"carrier_name", "Vodafone P"},
                                     {"allows_voip", true},
                                     {"iso_country_code", "pt"},
                                     {"mobile_country_code", "268"},
                                     {"mobile_network_code", "01"}}));
  // Codes the platform does not report are left out; allows_voip is always there, as a boolean.
  EXPECT_EQ(carriers[1], Dictionary({{"carrier_name", "Lyca"}, {"allows_voip", false}}));
  EXPECT_TRUE(carriers[1]["allows_voip"].is_boolean());
}

TEST(Timestamp, FormatsLocalTimeWithMillisecondsAndOffset) {
  using std::chrono::milliseconds;
  const Clock::TimePoint at{milliseconds(1709288130123)};  // 2024-03-01 10:15:30.123 UTC
  struct Case {
    Clock::TimePoint at;
    int offset;
    const char* expected;
  };
  const Case cases[] = {
      {at, 0, "2024-03-01T10:15:30.123+0000"},
      {at, -12600, "2024-03-01T06:45:30.123-0330"},
      {at, 19800, "2024-03-01T15:45:30.123+0530"},
      // Less than an hour behind still carries the minus sign.
      {at, -1800, "2024-03-01T09:45:30.123-0030"},
      // Back across midnight into a leap day, and forward into the next day.
      {at, -11 * 3600, "2024-02-29T23:15:30.123-1100"},
      {at, 14 * 3600, "2024-03-02T00:15:30.123+1400"},
      {Clock::TimePoint{milliseconds(1709288130000)}, 0, "2024-03-01T10:15:30.000+0000"},
      {Clock::TimePoint{milliseconds(1704067199999)}, 0, "2023-12-31T23:59:59.999+0000"},
      {Clock::TimePoint{milliseconds(7)}, 0, "1970-01-01T00:00:00.007+0000"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(formatTimestamp(c.at, c.offset), c.expected) << c.offset;
  }
}

// --- digest ---

TEST_F(DeviceInfoTest, DigestIsOfTheRecordsJsonTextAndEmptyWhenItHoldsInvalidUtf8) {
  device().carriers.emplace();
  auto record = sdk.getDeviceInfo("49015 42032 37518", "C02XK1JG5H");
  ASSERT_TRUE(record);
  EXPECT_EQ((*record)["received_ids"]["imei_values"], Dictionary({"490154203237518"}));
  EXPECT_EQ(jsonDigest(*record), sha256Hex(record->dump()));

  device().nameValue = "\xff\xfe";
  ASSERT_NO_THROW(record = sdk.getDeviceInfo(std::nullopt, std::nullopt));
  ASSERT_TRUE(record);
  EXPECT_EQ((*record)["device_name"].get<std::string>(), "\xff\xfe");
  EXPECT_EQ(jsonDigest(*record), "");
}

}  // namespace
}  // namespace quorvel
