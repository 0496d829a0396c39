#include <gtest/gtest.h>

#include "quorvel/StatusCodes.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;

struct ArgumentCase {
  const char* name;
  std::string appID;
  std::string apiKey;
  std::optional<std::string> imei;
  std::optional<std::string> serial;
  bool camera;
  bool microphone;
  int expected;
};

class PerformTestsArgumentsTest : public quorvel::testing::SdkFixture,
                                  public ::testing::WithParamInterface<ArgumentCase> {};

TEST_P(PerformTestsArgumentsTest, FirstFailingCheckAnswersSynchronouslyAndNothingElseHappens) {
  const auto& c = GetParam();
  hostWithNavigation();
  Dictionary info = Dictionary::object();
  if (c.camera) info["NSCameraUsageDescription"] = "camera";
  if (c.microphone) info["NSMicrophoneUsageDescription"] = "microphone";
  env.setHostInfo(info);
  env.install();
  sdk.performTests(c.appID, c.apiKey, std::nullopt, c.imei, c.serial, nullptr, completion());

  // Answered before performTests returned, without the main queue.
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(*outcome->response, (Dictionary{{"status_code", c.expected},
                                            {"message", StatusCodes::getDescription(c.expected)}}));
  // The host's navigation is untouched.
  EXPECT_EQ(window->rootViewController(), hostNavigation);
  EXPECT_EQ(hostNavigation->viewControllers().size(), 2u);
  settle();
  EXPECT_EQ(outcome->calls, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Checks, PerformTestsArgumentsTest,
    ::testing::Values(
        // The app ID is judged before the key is looked at.
        ArgumentCase{"blankAppID", "  \n", "", std::nullopt, std::nullopt, true, true, 401},
        ArgumentCase{"blankKey", "app", " \t", std::nullopt, std::nullopt, true, true, 402},
        ArgumentCase{"emptyIMEI", "app", "key", "", std::nullopt, true, true, 403},
        ArgumentCase{"blankIMEI", "app", "key", " \n ", "C02X", true, true, 403},
        ArgumentCase{"blankSerial", "app", "key", kValidIMEI, "  ", true, true, 407},
        // Usage descriptions come before the IMEI's checksum.
        ArgumentCase{"noCamera", "app", "key", "123", std::nullopt, false, true, 404},
        ArgumentCase{"noMicrophone", "app", "key", "123", std::nullopt, true, false, 405},
        ArgumentCase{"invalidIMEI", "app", "key", "490154203237519", std::nullopt, true, true,
                     403}),
    [](const auto& testCase) { return testCase.param.name; });

TEST_F(PerformTestsArgumentsTest, EmptyUsageDescriptionCountsAsMissing) {
  hostWithNavigation();
  env.setHostInfo({{"NSCameraUsageDescription", ""}, {"NSMicrophoneUsageDescription", "mic"}});
  env.install();
  sdk.performTests("app", "key", std::nullopt, std::nullopt, std::nullopt, nullptr, completion());
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(outcome->response->at("status_code"), 404);
}

TEST_F(PerformTestsArgumentsTest, LogShowsOnlyTheEndsOfTheCredentials) {
  hostWithNavigation();
  sdk.performTests("app-0123456789", "abc", std::nullopt, std::nullopt, std::nullopt, nullptr,
                   completion());
  EXPECT_EQ(env.log->lines().front(),
            "Zephyn Log: performTests called. APPID: app-01...456789 APIKEY: abc...abc");
  EXPECT_TRUE(env.log->contains(
      "Zephyn Log: selectedTests: [multiple_tests_v2, multi_touch_v2, device_front_video_v2]"));
}

TEST_F(PerformTestsArgumentsTest, WithoutAnyFrontEndArgumentErrorsStillAnswer) {
  installPlatform(Platform{});  // the default platform: no window, no host declarations
  sdk.performTests("app", "key", std::nullopt, std::nullopt, std::nullopt, nullptr, completion());
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(outcome->response->at("status_code"), 404);
}

}  // namespace
