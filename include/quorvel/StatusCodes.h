#pragma once

#include <string>

#include "quorvel/Export.h"

namespace quorvel {

// Outcome codes that the host's completion handler receives, and their texts.
struct QUORVEL_EXPORT StatusCodes {
  static constexpr int testFinished = 200;
  static constexpr int cancelledByUser = 301;
  static constexpr int invalidAppID = 401;
  static constexpr int invalidAPIKey = 402;
  static constexpr int invalidIMEI = 403;
  static constexpr int missingCameraUsageDescription = 404;
  static constexpr int missingMicrophoneUsageDescription = 405;
  static constexpr int serverError = 406;
  static constexpr int invalidSerialNumber = 407;

  // The text of a code; "Invalid error code" for a code outside the table.
  static std::string getDescription(int code);
};

}  // namespace quorvel
