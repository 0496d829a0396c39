#pragma once

#include <functional>

#include "DemoOptions.h"
#include "quorvel/Dictionary.h"
#include "quorvel/ui/ViewController.h"

namespace quorvel::demo {

// The demo host's own page: the settings a host gives the SDK (environment, language, tests,
// start screen, theme colour, identifiers, credentials) and the button that starts a run.
class HostPageViewController : public ViewController {
 public:
  using Completion = std::function<void(const std::optional<Dictionary>& response)>;

  HostPageViewController(const DemoOptions& options, Completion completion);

  void viewDidLoad() override;

  // Starts a run with the page's settings; a theme colour that is not #RRGGBB is shown as an
  // error and starts nothing.
  void start();

 private:
  void selectEnvironment(int environment);
  void selectLanguage(int language);

  DemoOptions options_;
  Completion completion_;
  int environment_ = 0;
  int language_ = 0;
  bool hideStartScreen_ = false;
};

}  // namespace quorvel::demo
