#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/Color.h"
#include "quorvel/Customization.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Environment.h"
#include "quorvel/Export.h"
#include "quorvel/Localization.h"
#include "quorvel/Version.h"

namespace quorvel {

class RunController;

// The SDK's entry point. The host sets the settings, then calls performTests on the main
// queue; the SDK takes over the navigation, runs the screens, gives the navigation back and calls
// completion exactly once: synchronously, before performTests returns, for an argument error, and
// on the main queue for every other outcome.
class QUORVEL_EXPORT QuorvelSDK {
 public:
  static QuorvelSDK& shared();

  // Host settings; set them before performTests.
  Environment environment = Environment::production;
  SupportedLanguage language = SupportedLanguage::english;
  bool hideStartScreen = false;
  std::optional<Color> themeColor;
  // Off: an upload counts as done whenever the backend answered with a JSON object, whatever its
  // status, and an unusable answer leaves the run waiting. On: every upload of the run (results,
  // photos, recordings) must get a 2xx answer holding a JSON object with a "url", else it failed;
  // the results then offer the retry alert, also when no answer has come 90 s after Finish.
  bool strictUploads = false;

  // completion receives {"status_code": ..., "message"/"status_message": ...}: 200 with the device
  // record, the results and the uploaded document's address; 301 when the person cancelled;
  // 401...407 for the arguments (see StatusCodes).
  void performTests(const std::string& appID, const std::string& apiKey,
                    std::optional<std::vector<std::string>> testsToPerform,
                    std::optional<std::string> imei, std::optional<std::string> serialNumber,
                    std::shared_ptr<Customization> customization,
                    std::function<void(std::optional<Dictionary>)> completion);

  // This device's information record for the identifiers (its digest is kept), or an error
  // dictionary with "status_code" 403 (invalid IMEI) or 407 (blank serial number).
  std::optional<Dictionary> getDeviceInfo(std::optional<std::string> imei,
                                          std::optional<std::string> serialNumber);

  QuorvelSDK(const QuorvelSDK&) = delete;
  QuorvelSDK& operator=(const QuorvelSDK&) = delete;

 private:
  QuorvelSDK();

  std::shared_ptr<RunController> run_;
};

}  // namespace quorvel
