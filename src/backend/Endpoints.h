#pragma once

#include <string>

#include "quorvel/Environment.h"
#include "quorvel/platform/HostBundle.h"

namespace quorvel {

// The assets backend's addresses.
class Endpoints {
 public:
  // The environment's assets host + "/v3/applications/" + appID + "/asset-upload", with the app ID
  // inserted as given. An empty app ID, or an address that is not a URL (a NUL byte, a space ...),
  // is a programming error.
  static std::string assetUploadURL(Environment environment, const std::string& appID,
                                    const HostBundle& host);

  // The origin of an environment's assets host: the host's information dictionary entry
  // ("QuorvelAssetsHostProduction", "QuorvelAssetsHostQA", "QuorvelAssetsHostIntegrations") when
  // present, else the build's default. Raw values other than 1 and 2 mean production.
  static std::string assetsHost(Environment environment, const HostBundle& bundle);
};

// Whether text is an absolute http(s) URL made only of characters a URL may hold.
bool isParsableURL(const std::string& text);

}  // namespace quorvel
