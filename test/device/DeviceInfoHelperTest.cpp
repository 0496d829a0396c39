#include <gtest/gtest.h>

#include <chrono>
#include <optional>
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

class DeviceInfoTest : public testing::SdkFixture {
 protected:
  testing::ScriptedDevice& device() { return *env.device; }
  Dictionary collect() { return DeviceInfoHelper::getDeviceInfo({}); }
};

TEST_F(DeviceInfoTest, FullDeviceGivesEveryKeyWithItsValue) {
  device().activeProcessors = 4;
  device().carriers.emplace();
  Dictionary record = collect();
  EXPECT_TRUE(record["uptime"].is_number_float());
  EXPECT_TRUE(record["processor_count"].is_number_integer());
  record.erase("battery_level");  // its text has a test of its own
  Dictionary expected = Dictionary::parse(R"json({
    "device_info_version": "2", "received_ids": {},
    "detected_ids": {"vendor_id": "0F8FAD5B-D9CB-469F-A165-70867728950E"},
    "brand": "Quorvel Labs", "device_model": "iPhone", "device_model_identifier": "iPhone13,2",
    "device_model_commercial": "iPhone 12", "device_name": "Test Device",
    "device_type": "smartphone", "os_name": "iOS", "os_version": "17.2",
    "os_version_detailed": "Version 17.2 (Build 21C62)", "uptime": 12345.5,
    "app_version": "3.2.1", "app_build_number": "321", "processor_count": 6,
    "active_processor_count": 4, "process_name": "HostApp", "ram_total": "5,900 MB",
    "total_disk_space": "63.86 GB", "used_disk_space": "43.86 GB", "free_disk_space": "20 GB",
    "round_disk_space": "64 GB", "thermal_state": "nominal", "battery_state": "charging",
    "carriers": [], "timestamp": "2024-03-01T10:15:30.123+0000"})json");
  expected["sdk_version_build"] = QuorvelVersionString;
  EXPECT_EQ(record, expected) << record.dump();
}

TEST_F(DeviceInfoTest, DeviceTypeFollowsTheModelAndAnEmptyModelIsLeftOut) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> cases = {
      {"iPad Pro", "tablet"}, {"IPAD", "tablet"}, {"iPhone Simulator", "smartphone"},
      {"Laptop", "Laptop"},   {"", std::nullopt},
  };
  for (const auto& [model, type] : cases) {
    device().modelValue = model;
    Dictionary record = collect();
    EXPECT_EQ(record.value("device_type", "(absent)"), type.value_or("(absent)")) << model;
    EXPECT_EQ(record.value("device_model", "(absent)"), type ? model : "(absent)");
  }
}

TEST_F(DeviceInfoTest, AppVersionsAreLeftOutWhenMissingEmptyOrNotText) {
  struct Case {
    Dictionary info;
    const char* version;
    const char* build;
  };
  const std::vector<Case> cases = {
      {Dictionary::object(), "(absent)", "(absent)"},
      {{{"CFBundleShortVersionString", ""}, {"CFBundleVersion", "7"}}, "(absent)", "7"},
      {{{"CFBundleShortVersionString", "2.0"}, {"CFBundleVersion", ""}}, "2.0", "(absent)"},
      {{{"CFBundleShortVersionString", 2}, {"CFBundleVersion", true}}, "(absent)", "(absent)"},
  };
  for (const auto& c : cases) {
    env.setHostInfo(c.info);
    env.install();
    Dictionary record = collect();
    EXPECT_EQ(record.value("app_version", "(absent)"), c.version) << c.info.dump();
    EXPECT_EQ(record.value("app_build_number", "(absent)"), c.build) << c.info.dump();
  }
}

TEST_F(DeviceInfoTest, UsedSpaceIsTotalLessFreeAndTheRoundedTotalIsTheNextWholeGigabyte) {
  struct Case {
    std::int64_t total, free;
    const char *used, *rounded;
  };
  const Case cases[] = {
      {64'000'000'000, 63'990'000'000, "0.01 GB", "64 GB"},
      {64'010'000'000, 10'000'000, "64 GB", "65 GB"},
      {1'234'500'000'000, 1'000'000'000'000, "234.5 GB", "1235 GB"},
      {0, 0, "0 GB", "0 GB"},
  };
  for (const auto& c : cases) {
    device().totalDisk = c.total;
    device().freeDisk = c.free;
    Dictionary record = collect();
    EXPECT_EQ(record["used_disk_space"], c.used) << c.total;
    EXPECT_EQ(record["round_disk_space"], c.rounded) << c.total;
    EXPECT_EQ(DeviceInfoHelper::usedDiskSpaceInBytes(), c.total - c.free);
  }
}

TEST(RoundDiskSpaceDeathTest, TextWithoutALeadingNumberIsFatal) {
  for (const char* text : {"", "GB 64", "64GB"}) {
    EXPECT_DEATH(DeviceInfoHelper::roundDiskSpace(text), "disk size") << '"' << text << '"';
  }
}

TEST_F(DeviceInfoTest, BatteryIsReadAfterMonitoringIsEnabled) {
  const std::vector<std::pair<BatteryState, std::string>> states = {
      {BatteryState::unknown, "unknown"},
      {BatteryState::unplugged, "unplugged"},
      {BatteryState::full, "full"},
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
  for (const auto& [level, text] : std::vector<std::pair<float, std::string>>{
           {0.8f, "0.8"}, {1.0f, "1.0"}, {-1.0f, "-1.0"}, {0.33333334f, "0.33333334"}}) {
    device().level = level;
    Dictionary record = collect();
    EXPECT_NE(record.dump().find("\"battery_level\":" + text + ","), std::string::npos);
    EXPECT_EQ(static_cast<float>(record["battery_level"].get<double>()), level);
  }
}

TEST_F(DeviceInfoTest, ModelIdentifierPrefersTheSimulatorVariableAndTrimsControlCharacters) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"arm64", "iPad8,1", "iPad8,1"},
      {"\t\nx86_64\r\x7f\0\0"s, std::nullopt, "x86_64"},
      {" x86_64 ", std::nullopt, " x86_64 "},
      {"x86_64", "", ""},
  };
  for (const auto& c : cases) {
    device().machine = c.machine;
    device().environment.clear();
    if (c.simulated) device().environment["SIMULATOR_MODEL_IDENTIFIER"] = *c.simulated;
    EXPECT_EQ(DeviceInfoHelper::modelIdentifier(), c.expected) << c.machine;
  }
}

TEST_F(DeviceInfoTest, ReceivedIdsStripWhitespaceAndLeaveOutWhatIsAbsent) {
  struct Case {
    DeviceIdentifiers ids;
    const char* expected;
  };
  const std::vector<Case> cases = {
      {{"", "", "", ""}, "{}"},
      {{"\t490154\n20323\u00a07518 ", {}, " C02 XK\t1\nJG5H ", {}},
       R"({"imei_values": ["490154203237518"], "serial_number": "C02XK1JG5H"})"},
      {{{}, "https://a/i", {}, "https://a/s"},
       R"({"imei_image_url": ["https://a/i"], "serial_number_image_url": ["https://a/s"]})"},
  };
  for (const auto& c : cases) {
    Dictionary record = DeviceInfoHelper::getDeviceInfo(c.ids);
    EXPECT_EQ(record["received_ids"], Dictionary::parse(c.expected)) << c.expected;
  }
}

TEST_F(DeviceInfoTest, CarriersInThePlatformsOrderAndNoneWithoutAProviderDictionary) {
  device().carriers.reset();
  Dictionary record = collect();
  EXPECT_FALSE(record.contains("carriers") || record.contains("timestamp"));
  EXPECT_TRUE(record.contains("battery_level"));

  device().carriers = std::vector<std::pair<std::string, Carrier>>{
      {"0000000100000002", Carrier{"Vodafone P", true, "pt", "268", "01"}},
      {"0000000100000001", Carrier{"Lyca", false, "", "", ""}},
  };
  // Codes the platform does not report are left out; allows_voip is always there.
  EXPECT_EQ(collect()["carriers"], Dictionary::parse(R"([
    {"carrier_name": "Vodafone P", "allows_voip": true, "iso_country_code": "pt",
     "mobile_country_code": "268", "mobile_network_code": "01"},
    {"carrier_name": "Lyca", "allows_voip": false}])"));
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
      {at, 19800, "2024-03-01T15:45:30.123+0530"},
      // Less than an hour behind still carries the minus sign.
      {at, -1800, "2024-03-01T09:45:30.123-0030"},
      // Back across midnight into a leap day, and forward into the next day.
      {at, -11 * 3600, "2024-02-29T23:15:30.123-1100"},
      {at, 14 * 3600, "2024-03-02T00:15:30.123+1400"},
      {Clock::TimePoint{milliseconds(7)}, 0, "1970-01-01T00:00:00.007+0000"},
  };
  for (const auto& c : cases) EXPECT_EQ(formatTimestamp(c.at, c.offset), c.expected) << c.offset;
}

TEST_F(DeviceInfoTest, DigestIsOfTheRecordsJsonTextAndEmptyWhenItHoldsInvalidUtf8) {
  device().carriers.emplace();
  auto record = sdk.getDeviceInfo("49015 42032 37518", "C02XK1JG5H");
  ASSERT_TRUE(record);
  EXPECT_EQ(jsonDigest(*record),
            CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(record->dump()))));

  device().nameValue = "\xff\xfe";
  ASSERT_NO_THROW(record = sdk.getDeviceInfo(std::nullopt, std::nullopt));
  ASSERT_TRUE(record);
  EXPECT_EQ((*record)["device_name"].get<std::string>(), "\xff\xfe");
  EXPECT_EQ(jsonDigest(*record), "");
}

}  // namespace
}  // namespace quorvel
