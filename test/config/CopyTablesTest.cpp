#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <vector>

#include "config/EnglishCopy.h"
#include "config/PortugueseCopy.h"

namespace {

using quorvel::CopyTable;
using quorvel::EnglishCopy;
using quorvel::PortugueseCopy;

// Every "%N$@" token in text, sorted, so that reordered placeholders still compare equal.
std::vector<std::string> placeholders(const std::string& text) {
  std::vector<std::string> found;
  for (size_t at = text.find('%'); at != std::string::npos; at = text.find('%', at + 1)) {
    if (at + 3 < text.size() && std::isdigit(static_cast<unsigned char>(text[at + 1])) &&
        text[at + 2] == '$' && text[at + 3] == '@') {
      found.push_back(text.substr(at, 4));
    }
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::set<std::string> keysOf(const CopyTable& table) {
  std::set<std::string> keys;
  for (const auto& [key, text] : table) keys.insert(key);
  return keys;
}

TEST(CopyTablesTest, BothLanguagesHoldTheSameHundredKeysWithNonEmptyTexts) {
  const CopyTable& en = EnglishCopy::table();
  const CopyTable& pt = PortugueseCopy::table();
  EXPECT_EQ(en.size(), 100u);
  EXPECT_EQ(keysOf(en), keysOf(pt));
  for (const CopyTable* table : {&en, &pt}) {
    for (const auto& [key, text] : *table) EXPECT_FALSE(text.empty()) << key;
  }
  // Platform-specific rows stay in both tables.
  EXPECT_TRUE(pt.contains("alert_sound_level_android"));
  EXPECT_TRUE(pt.contains("permission_text_call"));
}

TEST(CopyTablesTest, TranslationsKeepPlaceholdersAndLineBreaks) {
  const CopyTable& pt = PortugueseCopy::table();
  for (const auto& [key, english] : EnglishCopy::table()) {
    const std::string& portuguese = pt.at(key);
    EXPECT_EQ(placeholders(english), placeholders(portuguese)) << key;
    EXPECT_EQ(std::count(english.begin(), english.end(), '\n'),
              std::count(portuguese.begin(), portuguese.end(), '\n'))
        << key;
    // An escaped "\n" would show as two characters on screen.
    EXPECT_EQ(english.find('\\'), std::string::npos) << key;
    EXPECT_EQ(portuguese.find('\\'), std::string::npos) << key;
  }
  // The helper does find placeholders, so the comparison above is not vacuous.
  EXPECT_EQ(placeholders(pt.at("imei_add_screen_description")),
            (std::vector<std::string>{"%1$@", "%2$@"}));
}

TEST(CopyTablesTest, UploadErrorNamesTheFinishButtonOfItsLanguage) {
  EXPECT_NE(EnglishCopy::table().at("error_uploading_results_to_server_message").find("'Finish'"),
            std::string::npos);
  EXPECT_NE(
      PortugueseCopy::table().at("error_uploading_results_to_server_message").find("'Terminar'"),
      std::string::npos);
}

TEST(CopyTablesTest, PortugueseIsTranslatedAndEuropean) {
  const std::set<std::string> sameInBothLanguages = {"ok"};
  const CopyTable& en = EnglishCopy::table();
  for (const auto& [key, portuguese] : PortugueseCopy::table()) {
    if (!sameInBothLanguages.contains(key)) {
      EXPECT_NE(portuguese, en.at(key)) << key;
    }

    std::string lower = portuguese;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const char* brazilian : {"tela", "celular", "configuraç", "você", "arquivo"}) {
      EXPECT_EQ(lower.find(brazilian), std::string::npos) << key << " uses " << brazilian;
    }
  }
}

}  // namespace
