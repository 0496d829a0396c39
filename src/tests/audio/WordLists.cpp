#include "tests/audio/WordLists.h"

#include <algorithm>
#include <map>
#include <random>

#include "quorvel/Fatal.h"

namespace quorvel {

namespace {

const std::vector<std::string>& allWords(SupportedLanguage language) {
  static const std::vector<std::string> english = {"computer", "dog", "paper", "purple", "table"};
  static const std::vector<std::string> portuguese = {"cadeira", "computador", "livro", "mesa",
                                                      "telefone"};
  return language == SupportedLanguage::portuguese ? portuguese : english;
}

std::map<SupportedLanguage, std::vector<std::string>>& heardLists() {
  static std::map<SupportedLanguage, std::vector<std::string>> lists;
  return lists;
}

std::vector<std::string>& heardList(SupportedLanguage language) {
  auto& lists = heardLists();
  auto it = lists.find(language);
  if (it == lists.end()) it = lists.emplace(language, allWords(language)).first;
  return it->second;
}

}  // namespace

std::vector<std::string> WordLists::heardWords(SupportedLanguage language) {
  return heardList(language);
}

void WordLists::removeHeardWord(SupportedLanguage language, const std::string& word) {
  auto& list = heardList(language);
  list.erase(std::remove(list.begin(), list.end(), word), list.end());
}

std::string WordLists::assetName(SupportedLanguage language, const std::string& word) {
  const auto& words = allWords(language);
  if (std::find(words.begin(), words.end(), word) == words.end()) return {};
  return (language == SupportedLanguage::portuguese ? "pt-PT-" : "en-US-") + word;
}

const std::vector<std::string>& WordLists::readWords(SupportedLanguage language) {
  return allWords(language);
}

std::size_t WordLists::randomIndex(std::size_t count) {
  if (count == 0) QUORVEL_FATAL("no word left to choose from");
  static std::mt19937 generator{std::random_device{}()};
  return std::uniform_int_distribution<std::size_t>(0, count - 1)(generator);
}

void WordLists::restoreHeardWords() { heardLists().clear(); }

}  // namespace quorvel
