#include <gtest/gtest.h>

#include "quorvel/StatusCodes.h"
#include "support/SdkFixture.h"

namespace {

using namespace quorvel;
using quorvel::testing::kValidIMEI;

using PerformTestsArgumentsTest = quorvel::testing::SdkFixture;

TEST_F(PerformTestsArgumentsTest, FirstFailingCheckAnswersSynchronouslyAndNothingElseHappens) {
  struct Case {
    std::string appID, apiKey;
    std::optional<std::string> imei, serial;
    const char *camera, *microphone;
    int expected;
  };
  const std::vector<Case> cases = {
      // The app ID is judged before the key is looked at.
      {"  \n", "", std::nullopt, std::nullopt, "c", "m", 401},
      {"app", " \t", std::nullopt, std::nullopt, "c", "m", 402},
      {"app", "key", " \n ", "C02X", "c", "m", 403},
      {"app", "key", kValidIMEI, "  ", "c", "m", 407},
      // Usage descriptions come before the IMEI's checksum; an empty one is missing.
      {"app", "key", "123", std::nullopt, "", "m", 404},
      {"app", "key", "123", std::nullopt, "c", nullptr, 405},
      {"app", "key", "490154203237519", std::nullopt, "c", "m", 403},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected);
    restart();
    hostWithNavigation();
    Dictionary info = Dictionary::object();
    if (c.camera) info["NSCameraUsageDescription"] = c.camera;
    if (c.microphone) info["NSMicrophoneUsageDescription"] = c.microphone;
    env.setHostInfo(info);
    env.install();
    sdk.performTests(c.appID, c.apiKey, std::nullopt, c.imei, c.serial, nullptr, completion());
    // Answered before performTests returned, without the main queue, the navigation untouched.
    ASSERT_EQ(outcome->calls, 1);
    EXPECT_EQ(*outcome->response,
              (Dictionary{{"status_code", c.expected},
                          {"message", StatusCodes::getDescription(c.expected)}}));
    EXPECT_EQ(hostNavigation->viewControllers().size(), 2u);
    settle();
    EXPECT_EQ(outcome->calls, 1);
  }
}

TEST_F(PerformTestsArgumentsTest, LogShowsOnlyTheEndsOfTheCredentials) {
  hostWithNavigation();
  sdk.performTests("app-0123456789", "abc", std::nullopt, std::nullopt, std::nullopt, nullptr,
                   completion());
  EXPECT_EQ(env.log->lines().front(),
            "Zephyn Log: performTests called. APPID: app-01...456789 APIKEY: abc...abc");
}

TEST_F(PerformTestsArgumentsTest, WithoutAnyFrontEndArgumentErrorsStillAnswer) {
  installPlatform(Platform{});  // the default platform: no window, no host declarations
  sdk.performTests("app", "key", std::nullopt, std::nullopt, std::nullopt, nullptr, completion());
  ASSERT_EQ(outcome->calls, 1);
  EXPECT_EQ(outcome->response->at("status_code"), 404);
}

}  // namespace
