#include "quorvel/StatusCodes.h"

namespace quorvel {

std::string StatusCodes::getDescription(int code) {
  switch (code) {
    case testFinished:
      return "Test finished";
    case cancelledByUser:
      return "Test was canceled by user";
    case invalidAppID:
      return "Invalid App ID";
    case invalidAPIKey:
      return "Invalid API Key";
    case invalidIMEI:
      return "Invalid IMEI";
    case missingCameraUsageDescription:
      return "NSCameraUsageDescription is not defined in the app .plist file.";
    case missingMicrophoneUsageDescription:
      return "NSMicrophoneUsageDescription is not defined in the app .plist file.";
    case serverError:
      return "A server error occurred.";
    case invalidSerialNumber:
      return "Invalid Serial Number";
    default:
      return "Invalid error code";
  }
}

}  // namespace quorvel
