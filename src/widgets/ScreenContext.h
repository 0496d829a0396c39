#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quorvel/Customization.h"
#include "quorvel/Localization.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

class AssetUploaderWebService;

// A test screen's place in the run's header: "Test <index + 1>/<count>".
struct HeaderPosition {
  // -1 when the screen is not among the run's screens.
  long index = -1;
  std::size_t count = 0;

  // key's place among a run's screens (the first, when it appears twice).
  static HeaderPosition of(const std::string& key, const std::vector<std::string>& screens) {
    auto it = std::find(screens.begin(), screens.end(), key);
    return {it == screens.end() ? -1 : static_cast<long>(it - screens.begin()), screens.size()};
  }
};

// What a screen reads of the run that shows it, handed over when the screen is made. Screens keep
// their own copy, so a screen can be built and tested alone and never looks the run up.
struct ScreenContext {
  // The ports the screen uses, every one filled (a port the machine lacks answers "not
  // available"); whoever makes the screen hands them over.
  Platform ports;
  SupportedLanguage language = SupportedLanguage::english;
  // The run's appearance; a screen made without one gets the defaults.
  std::shared_ptr<const Customization> customization = std::make_shared<Customization>();
  Color themeColor = Customization::defaultThemeColor();
  HeaderPosition header;
  // Sends the screen's captured files and photos with the run's credentials; null when the screen
  // is shown outside a run.
  std::shared_ptr<const AssetUploaderWebService> uploader;
  // Lower-case hexadecimal SHA-256 of the device-information record, "" when none was built.
  std::string deviceInfoSHA256;
  // The run's tests that the combined screen lists; empty when it shows none.
  std::vector<std::string> multipleTestsList;
  // The run's IMEI, "" when the run has none.
  std::string imei;

  // The copy of key in the screen's language.
  std::string copy(std::string_view key) const { return Localization::copy(key, language); }
};

}  // namespace quorvel
