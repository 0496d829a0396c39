#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvel/ui/ViewController.h"
#include "screens/StartViewControllerDelegate.h"
#include "widgets/ScreenAppearance.h"

namespace quorvel {

// The first screen of a run: the device's model, the identifiers the host gave, hints for the
// run's tests, start and back.
class StartViewController : public ViewController {
 public:
  // What the screen shows of its run: the identifiers the host gave, and the run's screens (and the
  // combined screen's tests) for the hints.
  struct RunOutline {
    std::optional<std::string> imei;
    std::optional<std::string> serialNumber;
    std::vector<std::string> selectedTests;
    std::vector<std::string> multipleTestsList;
  };

  explicit StartViewController(ScreenContext context, RunOutline run = {});

  std::weak_ptr<StartViewControllerDelegate> delegate;

  void viewDidLoad() override;

 private:
  void configureSuggestions();

  ScreenAppearance look_;
  RunOutline run_;

  Outlet<View> headerView_{*this, "uiHeaderView"};
  Outlet<View> stackViewIMEI_{*this, "uiStackViewIMEI"};
  Outlet<View> stackViewSerialNumber_{*this, "uiStackViewSerialNumber"};
  Outlet<View> viewSuggestions_{*this, "uiViewSuggestions"};
  Outlet<Label> lbTitle_{*this, "uiLbTitle"};
  Outlet<Label> lbDescription_{*this, "uiLbDescription"};
  Outlet<Label> lbPhoneModel_{*this, "uiLbPhoneModel"};
  Outlet<Label> lbIMEITitle_{*this, "uiLbIMEITitle"};
  Outlet<Label> lbIMEIValue_{*this, "uiLbIMEIValue"};
  Outlet<Label> lbSNTitle_{*this, "uiLbSNTitle"};
  Outlet<Label> lbSNValue_{*this, "uiLbSNValue"};
  Outlet<Label> lbSuggestionsTitle_{*this, "uiLbSuggestionsTitle"};
  Outlet<Label> lbSuggestionChargingCable_{*this, "uiLbSuggestionChargingCable"};
  Outlet<Label> lbSuggestionMirror_{*this, "uiLbSuggestionMirror"};
  Outlet<Label> lbSuggestionNoise_{*this, "uiLbSuggestionNoise"};
  Outlet<Button> btBack_{*this, "uiBtBack"};
  Outlet<Button> btNext_{*this, "uiBtNext"};
  Outlet<ImageView> image_{*this, "uiImage"};
};

}  // namespace quorvel
