#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "device/CryptoHelper.h"
#include "device/DeviceImages.h"
#include "device/DeviceInfoHelper.h"
#include "device/Model.h"
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
  Dictionary collect(const DeviceIdentifiers& ids = {}) {
    return DeviceInfoHelper::getDeviceInfo(*platform().device, *platform().hostBundle, ids);
  }
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

TEST_F(DeviceInfoTest, MissingOrUnusableValuesAreLeftOut) {
  for (const auto& [model, type] : std::vector<std::pair<std::string, std::optional<std::string>>>{
           {"IPAD", "tablet"}, {"Laptop", "Laptop"}, {"", std::nullopt}}) {
    device().modelValue = model;
    Dictionary record = collect();
    EXPECT_EQ(record.value("device_type", "(absent)"), type.value_or("(absent)")) << model;
    EXPECT_EQ(record.contains("device_model"), type.has_value());
  }
  env.setHostInfo({{"CFBundleShortVersionString", ""}, {"CFBundleVersion", true}});
  env.install();
  Dictionary record = collect();
  EXPECT_FALSE(record.contains("app_version") || record.contains("app_build_number"));
}

TEST_F(DeviceInfoTest, UsedSpaceIsTotalLessFreeAndTheRoundedTotalIsTheNextWholeGigabyte) {
  device().totalDisk = 64'010'000'000;
  device().freeDisk = 10'000'000;
  Dictionary record = collect();
  EXPECT_EQ(record["used_disk_space"], "64 GB");
  EXPECT_EQ(record["round_disk_space"], "65 GB");
  EXPECT_DEATH(DeviceInfoHelper::roundDiskSpace("64GB"), "disk size");
}

TEST_F(DeviceInfoTest, BatteryStateNamesAndItsLevelIsTheFloatsDecimal) {
  const std::vector<std::pair<BatteryState, std::string>> states = {
      {BatteryState::unplugged, "unplugged"}, {static_cast<BatteryState>(9), "unknown"}};
  for (const auto& [state, name] : states) {
    device().battery = state;
    device().level = 0.33333334f;
    Dictionary record = collect();
    EXPECT_EQ(record["battery_state"], name);
    EXPECT_NE(record.dump().find("\"battery_level\":0.33333334,"), std::string::npos);
  }
  device().level = 0.8f;
  EXPECT_NE(collect().dump().find("\"battery_level\":0.8,"), std::string::npos);
}

TEST_F(DeviceInfoTest, ModelIdentifierPrefersTheSimulatorVariableAndTrimsControlCharacters) {
  device().machine = "\t\nx86_64\r\x7f\0\0"s;
  EXPECT_EQ(DeviceInfoHelper::modelIdentifier(device()), "x86_64");
  device().environment["SIMULATOR_MODEL_IDENTIFIER"] = "";
  EXPECT_EQ(DeviceInfoHelper::modelIdentifier(device()), "");
}

TEST_F(DeviceInfoTest, ReceivedIdsAndCarriersKeepOnlyWhatIsThere) {
  DeviceIdentifiers ids{"\t490154\n20323\u00a07518 ", {}, " C02 XK\t1\nJG5H ", "https://a/s"};
  EXPECT_EQ(collect(ids)["received_ids"], Dictionary::parse(R"({
    "imei_values": ["490154203237518"], "serial_number": "C02XK1JG5H",
    "serial_number_image_url": ["https://a/s"]})"));
  EXPECT_EQ(collect({"", "", "", ""})["received_ids"], Dictionary::object());

  device().carriers = std::vector<std::pair<std::string, Carrier>>{
      {"0000000100000002", Carrier{"Vodafone P", true, "pt", "268", "01"}},
      {"0000000100000001", Carrier{"Lyca", false, "", "", ""}},
  };
  // In the platform's order; codes the platform does not report are left out.
  EXPECT_EQ(collect()["carriers"], Dictionary::parse(R"([
    {"carrier_name": "Vodafone P", "allows_voip": true, "iso_country_code": "pt",
     "mobile_country_code": "268", "mobile_network_code": "01"},
    {"carrier_name": "Lyca", "allows_voip": false}])"));
}

TEST(Timestamp, FormatsLocalTimeWithMillisecondsAndOffset) {
  const Clock::TimePoint at{std::chrono::milliseconds(1709288130123)};  // 2024-03-01 10:15:30.123Z
  // Less than an hour behind still carries the minus sign; back across midnight into a leap day.
  EXPECT_EQ(formatTimestamp(at, 19800), "2024-03-01T15:45:30.123+0530");
  EXPECT_EQ(formatTimestamp(at, -1800), "2024-03-01T09:45:30.123-0030");
  EXPECT_EQ(formatTimestamp(at, -11 * 3600), "2024-02-29T23:15:30.123-1100");
}

TEST(CryptoHelper, PublishedVectorsInLowerCaseHex) {
  const std::vector<std::uint8_t> bytes = {0x00, 0x0F, 0xA0, 0xFF};
  EXPECT_EQ(CryptoHelper::hexString(std::span<const std::uint8_t>(bytes)), "000fa0ff");
  // 56 bytes: the length no longer fits the first block.
  const std::string_view input = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::sha256(input)),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(input)), "8215ef0796a20bcaaae116d3876c664a");
  EXPECT_EQ(CryptoHelper::hexString(CryptoHelper::md5(std::span<const std::uint8_t>())),
            "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(CryptoHelperDeathTest, InputBeyondA32BitLengthIsFatal) {
  // Only the length is looked at before the digest starts, so a short buffer can claim to be huge.
  const std::uint8_t byte = 0;
  EXPECT_DEATH(CryptoHelper::sha256(std::span<const std::uint8_t>(&byte, std::size_t{1} << 32)),
               "4294967295");
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
  EXPECT_EQ(jsonDigest(*record), "");
}

// The model comes from the machine, and from the variable only on a simulator; the pictures come
// from the reported identifier, where the variable wins on a simulator and on a device alike.
TEST_F(DeviceInfoTest, ModelAndPicturesFollowTheMachineOrTheSimulatorVariable) {
  struct Case {
    std::string machine;
    std::optional<std::string> simulated;
    std::string_view model;
    std::string_view pictures;  // the prefix the three keys share, or "" for no picture
  };
  const std::vector<Case> cases = {
      {"iPad6,3", std::nullopt, "iPad Pro 9.7\"", "iPad_touch_ID_"},
      {"iPad11,7", std::nullopt, "iPad 8", "iPad_touch_ID_"},
      // Newer hardware than the tables: unrecognized, not a guess, and face-ID pictures of its
      // family; a name with both is an iPad.
      {"iPhone14,2", std::nullopt, "?unrecognized?", "iPhone_face_ID_"},
      {"IPHONE15,1", std::nullopt, "?unrecognized?", "iPhone_face_ID_"},
      {"iPhoneOniPad1,1", std::nullopt, "?unrecognized?", "iPad_face_ID_"},
      {"arm64", "iPhone13,2", "?unrecognized?", "iPhone_face_ID_"},
      {"i386", "iPhone13,2", "iPhone 12", "iPhone_face_ID_"},
      {"x86_64", std::nullopt, "simulator/sandbox", ""},
      {"x86_64", "iPhone99,1", "simulator/sandbox", "iPhone_face_ID_"},
      {"iPhone10,3", "iPhone13,2", "iPhone X", "iPhone_face_ID_"},
      // uname's field is zero-padded; the padding is not part of the model's name, anything else
      // is, though the reported identifier drops it.
      {"x86_64\0\0\0\0"s, "iPhone13,2", "iPhone 12", "iPhone_face_ID_"},
      {"iPhone12,8\0\0"s, std::nullopt, "iPhone SE 2nd gen", "iPhone_touch_ID_"},
      {"iPhone12,8\n", std::nullopt, "?unrecognized?", "iPhone_touch_ID_"},
      // The last case has no picture, for the bad key below.
      {"iPhone12,8", "AppleTV5,3", "iPhone SE 2nd gen", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.machine);
    device().machine = c.machine;
    device().environment.clear();
    if (c.simulated) device().environment["SIMULATOR_MODEL_IDENTIFIER"] = *c.simulated;
    EXPECT_EQ(rawValue(currentDeviceType(*platform().device)), c.model);
    for (std::string_view key : {"volume_up", "volume_down", "screenshot"}) {
      EXPECT_EQ(DeviceImages::imageName(key, *platform().device),
                c.pictures.empty() ? "" : std::string(c.pictures) + std::string(key));
    }
  }
  // A bad key is the caller's bug, also where the device has no picture at all; so is a machine
  // name that is not UTF-8.
  EXPECT_DEATH(DeviceImages::imageName("Volume_up", *platform().device), "image key");
  device().machine = "iPhone\xff";
  EXPECT_DEATH(currentDeviceType(*platform().device), "UTF-8");
}

TEST(ModelTable, RawValuesRoundTrip) {
  for (Model model : allModels()) EXPECT_EQ(makeModel(rawValue(model)), model);
  EXPECT_EQ(makeModel("IPHONE 12"), std::nullopt);
}

}  // namespace
}  // namespace quorvel
