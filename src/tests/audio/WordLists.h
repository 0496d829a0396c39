#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "quorvel/Export.h"
#include "quorvel/Localization.h"

namespace quorvel {

// The words of the word tests, five a language. The heard-word lists belong to the process: a
// word answered right leaves its list, so the next heard-word test does not play it again. The
// read-word lists never change. Main queue only.
class QUORVEL_EXPORT WordLists {
 public:
  // The heard-word test's words left in language, in their order.
  static std::vector<std::string> heardWords(SupportedLanguage language);
  // The word was answered right: it leaves language's heard-word list.
  static void removeHeardWord(SupportedLanguage language, const std::string& word);
  // The sound asset that speaks word ("en-US-dog", "pt-PT-mesa"); empty for a word of no list.
  static std::string assetName(SupportedLanguage language, const std::string& word);
  // The read-word test's words, always all five.
  static const std::vector<std::string>& readWords(SupportedLanguage language);
  // A uniformly random index below count (count > 0).
  static std::size_t randomIndex(std::size_t count);
  // Every word back in the heard-word lists, as in a new process.
  static void restoreHeardWords();
};

}  // namespace quorvel
