#include "run/HostNavigation.h"

#include "quorvel/Fatal.h"
#include "quorvel/ui/AlertController.h"
#include "support/Logging.h"

namespace quorvel {

namespace {

std::string describe(const std::shared_ptr<ViewController>& controller) {
  return controller ? controller->description() : "nil";
}

std::string describe(const std::vector<std::shared_ptr<ViewController>>& controllers) {
  std::string text = "[";
  for (std::size_t i = 0; i < controllers.size(); ++i) {
    if (i) text += ", ";
    text += describe(controllers[i]);
  }
  return text + "]";
}

}  // namespace

// compat: the log lines below name the other platform's classes word for word.
void HostNavigation::takeOver(Application& application) {
  auto keyWindow = application.keyWindow();
  auto window = keyWindow;
  if (keyWindow) {
    logLine("UIApplication.shared.keyWindow: " + keyWindow->description());
  } else if (!application.windows().empty()) {
    window = application.windows().front();
  } else {
    QUORVEL_FATAL("performTests needs a window: install a front end's Platform first");
  }

  auto root = window->rootViewController();
  if (auto hostNavigation = std::dynamic_pointer_cast<NavigationController>(root)) {
    logLine("UIApplication.shared.keyWindow?.rootViewController is UINavigationController");
    hostScreens_ = hostNavigation->viewControllers();
    navigation_ = hostNavigation;
    // Given back as found: a run on a plain root before had left this set, hiding the host's bar.
    hostBarHidden_ = hostNavigation->isNavigationBarHidden();
  } else if (keyWindow) {
    // Appended rather than " " + string: GCC 12 falsely warns (-Wrestrict) on that insert.
    std::string line = " ";
    logLine(line += describe(root));
    hostScreens_.clear();
    if (root) hostScreens_.push_back(root);
    logLine("rootvc " + describe(root));
    auto own = root ? root->navigationController() : nullptr;
    logLine("navigationController " + (own ? own->description() : std::string("nil")));
    navigation_ = own;
    if (!navigation_) {
      logLine("self.navigationController == nil");
      navigation_ = NavigationController::make();
    }
    hostBarHidden_ = true;
    navigation_->setNavigationBarHidden(true, false);
    keyWindow->setRootViewController(navigation_);
    logLine("new rootvc " + navigation_->description());
  } else {
    std::string windows;
    for (const auto& each : application.windows()) {
      windows += (windows.empty() ? "" : ", ") + each->description();
    }
    logLine("UIApplication.shared.windows: [" + windows + "]");
    logLine("UIApplication.shared.windows.first!: " + window->description());
    hostScreens_.clear();
    if (root) hostScreens_.push_back(root);
    auto own = root ? root->navigationController() : nullptr;
    navigation_ = own ? own : NavigationController::make(root);
    hostBarHidden_ = true;
    navigation_->setNavigationBarHidden(true, false);
    window->setRootViewController(navigation_);
  }
  logLine("setNavigationStructure: true");
}

void HostNavigation::giveBack() {
  if (!navigation_) return;
  auto navigation = navigation_;
  navigation->setNavigationBarHidden(hostBarHidden_, false);
  // The retry alert of an earlier Finish can still be up when a later one's upload answers; it
  // must not stay over the host's screens.
  if (std::dynamic_pointer_cast<AlertController>(navigation->presentedViewController())) {
    navigation->dismiss(false);
  }
  if (!hostScreens_.empty() && navigation->contains(*hostScreens_.back())) {
    // compat: "rootViewControllerVCS" is the other platform's field name.
    logLine("rootViewControllerVCS: " + describe(hostScreens_));
    logLine("rootViewControllerVCS.last: " + describe(hostScreens_.back()));
    navigation->popToViewController(*hostScreens_.back(), false);
    logLine("pushed rootViewControllerVCS.last");
  } else {
    logLine("poppedToRootViewController " + describeRoot());
    navigation->popToRootViewController(false);
  }
}

void HostNavigation::push(std::shared_ptr<ViewController> screen) {
  if (navigation_) navigation_->pushViewController(std::move(screen), true);
}

void HostNavigation::present(std::shared_ptr<AlertController> alert) {
  if (navigation_) navigation_->present(std::move(alert), true);
}

std::string HostNavigation::describeRoot() const {
  if (!navigation_ || navigation_->viewControllers().empty()) return "nil";
  return navigation_->viewControllers().front()->description();
}

}  // namespace quorvel
