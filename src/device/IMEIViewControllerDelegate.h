#pragma once

#include <optional>
#include <string>

namespace quorvel {

class IMEIViewController;

class IMEIViewControllerDelegate {
 public:
  virtual ~IMEIViewControllerDelegate() = default;
  // Exactly one of the four values is set: a typed IMEI or serial number, or the address of an
  // uploaded photo of one.
  virtual void IMEIViewControllerIMEIInputSuccessful(
      IMEIViewController& vc, std::optional<std::string> imei, std::optional<std::string> imeiUrl,
      std::optional<std::string> serialNumber, std::optional<std::string> serialNumberUrl) = 0;
  // The person gave up after a failed photo upload.
  virtual void IMEIViewControllerErrorOccurred(IMEIViewController& vc) = 0;
  virtual void IMEIViewControllerPressedCancel(IMEIViewController& vc) = 0;
};

}  // namespace quorvel
