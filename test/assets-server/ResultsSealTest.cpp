#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "ResultsSeal.h"

namespace quorvel {
namespace {

TEST(ResultsSeal, FindsTheTopLevelMemberTextAsWritten) {
  struct Case {
    std::string document;
    std::optional<std::string> data;
  };
  const std::vector<Case> cases = {
      // Nested keys of the same name and brackets or quotes inside strings do not mislead it.
      {R"({"a":{"data":1},"s":"\"data\":[","data":{"x":"}\"{"}})", R"({"x":"}\"{"})"},
      {"{\"d\\u0061ta\" :\n [1, {\"y\": 2}] }", "[1, {\"y\": 2}]"},
      // The last of repeated keys, as the parser takes it.
      {R"({"data":1,"data":{"z":true}})", R"({"z":true})"},
      {"\xEF\xBB\xBF {\"data\":-1.5e3}", "-1.5e3"},
      {R"([{"data":{}}])", std::nullopt},
      {R"({"data":{})", std::nullopt},
  };
  for (const auto& c : cases) {
    auto text = ResultsSeal::memberText(c.document, "data");
    EXPECT_EQ(text ? std::optional<std::string>(*text) : std::nullopt, c.data) << c.document;
  }
}

std::string sealed(const std::string& data, const std::string& appID) {
  return R"({"sha256":")" + ResultsSeal::sha256Hex(data + appID) + R"(", "data": )" + data + "}";
}

TEST(ResultsSeal, VerifiesTheDataAsWrittenWithTheAppIdAndNothingTooDeep) {
  const std::string data = R"({ "tests_results" : {"buttons": {"success": true}} })";
  EXPECT_TRUE(ResultsSeal::verify(sealed(data, "app/1"), "app/1"));
  EXPECT_FALSE(ResultsSeal::verify(sealed("[1]", "app"), "app"));
  EXPECT_FALSE(ResultsSeal::verify(R"({"sha256": 1, "data": {}})", "app"));
  // A seal over a document nested past the limit is not checked at all.
  auto nested = [](std::size_t levels) {
    return "{\"a\":" + std::string(levels, '[') + std::string(levels, ']') + "}";
  };
  const std::size_t room = ResultsSeal::kMaxDepth - 2;  // the document and its data
  EXPECT_TRUE(ResultsSeal::verify(sealed(nested(room), "app"), "app"));
  EXPECT_FALSE(ResultsSeal::verify(sealed(nested(room + 1), "app"), "app"));
}

}  // namespace
}  // namespace quorvel
