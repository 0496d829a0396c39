#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "quorvel/Export.h"

namespace quorvel {

// Language of all copy. Raw values are part of the interface; any other raw value is a
// programming error when copy is looked up.
enum class SupportedLanguage : int { english = 0, portuguese = 1 };

struct QUORVEL_EXPORT Localization {
  // The text of a copy key in QuorvelSDK::shared().language; a key missing from the table is
  // answered with the key itself.
  static std::string copy(std::string_view key);
  static std::string copy(std::string_view key, SupportedLanguage language);

  // Fills positional placeholders ("%1$@", "%2$@") and sequential ones ("%@"); "%%" is a percent
  // sign. A placeholder without an argument is left as it stands.
  static std::string format(std::string_view format, std::initializer_list<std::string> arguments);
};

}  // namespace quorvel
