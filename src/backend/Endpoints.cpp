#include "backend/Endpoints.h"

#include <cctype>
#include <cstring>

#include "quorvel/Deployment.h"
#include "quorvel/Fatal.h"

namespace quorvel {

std::string Endpoints::assetsHost(Environment environment, const HostBundle& bundle) {
  const char* key = "QuorvelAssetsHostProduction";
  const char* builtIn = QuorvelAssetsHostProduction;
  switch (static_cast<int>(environment)) {
    case 1:
      key = "QuorvelAssetsHostQA";
      builtIn = QuorvelAssetsHostQA;
      break;
    case 2:
      key = "QuorvelAssetsHostIntegrations";
      builtIn = QuorvelAssetsHostIntegrations;
      break;
    default:
      break;
  }
  std::string host = bundle.string(key).value_or(builtIn);
  while (!host.empty() && host.back() == '/') host.pop_back();
  return host;
}

std::string Endpoints::assetUploadURL(Environment environment, const std::string& appID,
                                      const HostBundle& host) {
  if (appID.empty()) QUORVEL_FATAL("The upload address needs an app ID: call performTests first");
  std::string url = assetsHost(environment, host) + "/v3/applications/" + appID + "/asset-upload";
  if (!isParsableURL(url)) QUORVEL_FATAL("The upload address is not a valid URL: " + url);
  return url;
}

bool isParsableURL(const std::string& text) {
  std::size_t schemeEnd = text.find("://");
  if (schemeEnd == std::string::npos) return false;
  std::string scheme = text.substr(0, schemeEnd);
  for (char& c : scheme) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (scheme != "http" && scheme != "https") return false;
  std::size_t hostStart = schemeEnd + 3;
  std::size_t hostEnd = text.find_first_of("/?#", hostStart);
  if (hostEnd == hostStart) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '%') {
      if (i + 2 >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[i + 1])) ||
          !std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
        return false;
      }
      continue;
    }
    // Unreserved and reserved characters only: no spaces, quotes, braces or control bytes. NUL is
    // checked apart: strchr finds it as every string's terminator.
    if (c == '\0') return false;
    if (std::isalnum(c) == 0 && std::strchr("-._~:/?#[]@!$&'()*+,;=", c) == nullptr) return false;
  }
  return true;
}

}  // namespace quorvel
