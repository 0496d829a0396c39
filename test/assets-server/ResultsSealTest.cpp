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

}  // namespace
}  // namespace quorvel
