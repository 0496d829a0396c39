#pragma once

#include <string>
#include <string_view>

namespace quorvel {

// The countries of the ITU E.212 mobile country codes.
class MobileCountryCodes {
 public:
  // ISO 3166-1 alpha-2 in lower case, as phones report it ("pt", "us"); empty for a code that is
  // unknown or not one country's.
  static std::string isoCountry(std::string_view mcc);
};

}  // namespace quorvel
