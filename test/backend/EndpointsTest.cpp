#include <gtest/gtest.h>

#include "backend/Endpoints.h"
#include "support/SdkFixture.h"

namespace quorvel::testing {
namespace {

class EndpointsTest : public SdkFixture {
 protected:
  // The upload address with the installed host's information dictionary.
  static std::string uploadURL(Environment environment, const std::string& appID) {
    return Endpoints::assetUploadURL(environment, appID, *platform().hostBundle);
  }
};

TEST_F(EndpointsTest, EnvironmentPicksItsHostAndTheAppIDGoesInAsGiven) {
  env.setHostInfo({{"QuorvelAssetsHostProduction", "https://prod.example"},
                   {"QuorvelAssetsHostQA", "https://qa.example/"},
                   {"QuorvelAssetsHostIntegrations", "http://127.0.0.1:8080"}});
  env.install();
  // A slash adds a path segment, unescaped.
  const std::pair<int, const char*> cases[] = {
      {0, "https://prod.example/v3/applications/team/app/asset-upload"},
      {1, "https://qa.example/v3/applications/team/app/asset-upload"},
      {2, "http://127.0.0.1:8080/v3/applications/team/app/asset-upload"},
      {7, "https://prod.example/v3/applications/team/app/asset-upload"}};
  for (const auto& [raw, url] : cases) {
    EXPECT_EQ(uploadURL(static_cast<Environment>(raw), "team/app"), url) << raw;
  }
  // Without overrides the build's own hosts are used.
  env.setHostInfo(Dictionary::object());
  env.install();
  EXPECT_TRUE(uploadURL(Environment::production, "a").starts_with("https://"));
}

TEST_F(EndpointsTest, MissingAppIDOrUnusableAddressIsAProgrammingError) {
  EXPECT_DEATH(uploadURL(Environment::production, ""), "app ID");
  EXPECT_DEATH(uploadURL(Environment::production, "has space"), "not a valid URL");
  // A NUL byte would end the address early in every C interface it passes through.
  EXPECT_DEATH(uploadURL(Environment::production, std::string("app\0/x", 6)), "not a valid URL");
}

TEST(URLSyntax, OnlyAbsoluteHttpAddressesOfURLCharacters) {
  EXPECT_TRUE(isParsableURL("https://h/v3/applications/a%20b/asset-upload"));
  EXPECT_TRUE(isParsableURL("HTTP://127.0.0.1:1/x"));
  for (const char* bad :
       {"ftp://h/x", "h/x", "https:///x", "https://h/\"", "https://h/%2", "https://h/\xc3\xa9"}) {
    EXPECT_FALSE(isParsableURL(bad)) << bad;
  }
}

}  // namespace
}  // namespace quorvel::testing
