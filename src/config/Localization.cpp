#include "quorvel/Localization.h"

#include <vector>

#include "config/EnglishCopy.h"
#include "config/PortugueseCopy.h"
#include "quorvel/Fatal.h"
#include "quorvel/QuorvelSDK.h"

namespace quorvel {

std::string Localization::copy(std::string_view key) {
  return copy(key, QuorvelSDK::shared().language);
}

std::string Localization::copy(std::string_view key, SupportedLanguage language) {
  const CopyTable* table = nullptr;
  switch (static_cast<int>(language)) {
    case 0:
      table = &EnglishCopy::table();
      break;
    case 1:
      table = &PortugueseCopy::table();
      break;
    default:
      QUORVEL_FATAL("unsupported language raw value " + std::to_string(static_cast<int>(language)));
  }
  auto it = table->find(std::string(key));
  return it == table->end() ? std::string(key) : it->second;
}

std::string Localization::format(std::string_view format,
                                 std::initializer_list<std::string> arguments) {
  std::vector<std::string> args(arguments);
  std::string out;
  std::size_t sequential = 0;
  for (std::size_t i = 0; i < format.size(); ++i) {
    char c = format[i];
    if (c != '%' || i + 1 >= format.size()) {
      out += c;
      continue;
    }
    if (format[i + 1] == '%') {
      out += '%';
      ++i;
      continue;
    }
    if (format[i + 1] == '@') {
      if (sequential < args.size()) {
        out += args[sequential++];
        ++i;
      } else {
        out += c;
      }
      continue;
    }
    // Positional: %<n>$@
    std::size_t j = i + 1;
    std::size_t position = 0;
    while (j < format.size() && format[j] >= '0' && format[j] <= '9') {
      position = position * 10 + static_cast<std::size_t>(format[j] - '0');
      ++j;
    }
    bool positional =
        j > i + 1 && j + 1 < format.size() && format[j] == '$' && format[j + 1] == '@';
    if (positional && position >= 1 && position <= args.size()) {
      out += args[position - 1];
      i = j + 1;
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace quorvel
