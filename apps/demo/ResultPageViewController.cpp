#include "ResultPageViewController.h"

#include "quorvel/StatusCodes.h"
#include "quorvel/ui/NavigationController.h"

namespace quorvel::demo {

ResultPageViewController::ResultPageViewController(std::optional<Dictionary> response)
    : ViewController("ResultPageViewController"), response_(std::move(response)) {
  for (const char* name : {"uiLbTitle", "uiLbStatus", "uiLbResponse"}) registerOutlet<Label>(name);
  registerOutlet<Button>("uiBtBack");
  registerAction("uiBtBack_TouchUpInside", [this] {
    if (auto navigation = navigationController()) navigation->popViewController(true);
  });
}

void ResultPageViewController::viewDidLoad() {
  outlet<View>("view").backgroundColor = Color::rgb(242, 242, 247);
  for (const char* name : {"uiLbTitle", "uiLbResponse"}) {
    outlet<Label>(name).textColor = Color::rgb(28, 28, 30);
  }
  outlet<Label>("uiLbTitle").text = "Completion response";
  const int code = response_ ? response_->value("status_code", 0) : 0;
  auto& status = outlet<Label>("uiLbStatus");
  status.text =
      response_ ? std::to_string(code) + " · " + StatusCodes::getDescription(code) : "No response";
  status.textColor = code == 200 ? Color::rgb(52, 199, 89) : Color::rgb(255, 59, 48);
  outlet<Label>("uiLbResponse").text = response_ ? response_->dump(2) : "null";
  auto& back = outlet<Button>("uiBtBack");
  back.title = "Back to the host page";
  back.backgroundColor = Color::rgb(11, 123, 251);
  back.titleColor = Color::white();
  back.borderType = BorderType::rounded;
}

}  // namespace quorvel::demo
