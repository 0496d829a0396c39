#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "device/IMEIViewControllerDelegate.h"
#include "quorvel/Dictionary.h"
#include "quorvel/Image.h"
#include "quorvel/ui/LoadingView.h"
#include "quorvel/ui/ViewController.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

// The step in which the person identifies the device: an IMEI or serial number typed in, or a photo
// of one, which is uploaded and reported by its address.
class IMEIViewController : public ViewController {
 public:
  enum class Mode { imei, serialNumber };

  // The uploader's answer: the backend's JSON object, or an error text. May arrive on any thread.
  using UploadCompletion =
      std::function<void(std::optional<Dictionary> response, std::optional<std::string> error)>;
  using ImageUploader = std::function<void(const Image& image, UploadCompletion completion)>;

  // A photo goes to the assets backend through context's uploader.
  explicit IMEIViewController(ScreenContext context);

  // Whitespace removed anywhere, then exactly 15 decimal digits that pass the Luhn check.
  static bool isValidIMEI(std::string_view text);

  std::weak_ptr<IMEIViewControllerDelegate> delegate;
  // Sends an attached photo; the context's uploader unless replaced.
  ImageUploader imageUploader;
  std::shared_ptr<LoadingView> loadingView = std::make_shared<LoadingView>();

  Mode mode() const { return mode_; }
  const std::optional<Image>& imeiImage() const { return imeiImage_; }

  void viewDidLoad() override;

 private:
  const Platform& ports() const { return look_.context().ports; }
  void setMode(Mode mode);
  void setImage(std::optional<Image> image);
  void next();
  void uploadImage();
  void uploadFinished(const std::optional<Dictionary>& response);
  void showAlert(const std::string& title,
                 std::vector<std::pair<std::string, std::function<void()>>> actions);

  ScreenAppearance look_;
  Mode mode_ = Mode::imei;
  std::string imeiPlaceholder_;
  std::optional<Image> imeiImage_;
  unsigned uploadAttempt_ = 0;
  bool uploadAnswered_ = false;

  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<Label> lbOr_{*this, "uiLbOr"};
  Outlet<Label> lbAttachText_{*this, "uiLbAttachText"};
  Outlet<RadioButton> rbIMEI_{*this, "uiRBIMEI"};
  Outlet<RadioButton> rbSerialNumber_{*this, "uiRBSerialNumber"};
  Outlet<TextField> tfIMEI_{*this, "uiTfIMEI"};
  Outlet<View> viewNoImage_{*this, "uiViewNoImage"};
  Outlet<ImageView> ivImage_{*this, "uiIvImage"};
  Outlet<Button> btAttachImage_{*this, "uiBtAttachImage"};
  Outlet<Button> btRemoveImage_{*this, "uiBtRemoveImage"};
  Outlet<Button> btCancel_{*this, "uiBtCancel"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
  Outlet<Button> btKeyboardDone_{*this, "uiBtKeyboardDone"};
};

}  // namespace quorvel
