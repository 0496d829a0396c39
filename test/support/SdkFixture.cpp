#include "support/SdkFixture.h"

#include <chrono>
#include <thread>

#include "backend/AssetUploaderWebService.h"
#include "quorvel/ui/Application.h"
#include "tests/audio/WordLists.h"

namespace quorvel::testing {

namespace {

// The host's settings and the words left to hear, as a fresh process has them.
void resetSettings(QuorvelSDK& sdk) {
  sdk.environment = Environment::production;
  sdk.language = SupportedLanguage::english;
  sdk.hideStartScreen = false;
  sdk.themeColor.reset();
  sdk.strictUploads = false;
  WordLists::restoreHeardWords();
}

}  // namespace

// Also runs again after TearDown within a test (restart()), to start over as a fresh process.
void SdkFixture::SetUp() {
  env = TestPlatform{};
  outcome = std::make_shared<Outcome>();
  window.reset();
  hostNavigation.reset();
  hostRoot.reset();
  documents = std::make_unique<TemporaryTree>("quorvel-documents");
  env.device->documents = documents->path().string();
  env.install();
  resetSettings(sdk);
}

void SdkFixture::TearDown() {
  // The host closes its window, so that the application lets go of it and of the screens it
  // still shows (a screen holds the application among its ports).
  if (window) env.application->removeWindow(*window);
  resetSettings(sdk);
  AssetUploaderWebService::timeoutInterval = std::chrono::seconds(60);
  installPlatform(Platform{});
}

bool SdkFixture::waitUntil(const std::function<bool()>& done) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (settle(); !done(); settle()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

void SdkFixture::hostWithNavigation() {
  hostRoot = std::make_shared<ViewController>("HostHome");
  hostNavigation = NavigationController::make(hostRoot);
  hostNavigation->pushViewController(std::make_shared<ViewController>("HostDetail"), false);
  window = std::make_shared<Window>(hostNavigation);
  env.application->makeKeyWindow(window);
}

void SdkFixture::hostWithPlainScreen() {
  hostRoot = std::make_shared<ViewController>("HostHome");
  window = std::make_shared<Window>(hostRoot);
  env.application->makeKeyWindow(window);
}

void SdkFixture::hostWithoutKeyWindow() {
  hostRoot = std::make_shared<ViewController>("HostHome");
  window = std::make_shared<Window>(hostRoot);
  env.application->addWindow(window);
}

SdkFixture::Completion SdkFixture::completion() {
  return [shared = outcome](std::optional<Dictionary> response) {
    ++shared->calls;
    shared->response = std::move(response);
  };
}

void SdkFixture::start(std::optional<std::vector<std::string>> tests,
                       std::optional<std::string> imei, std::optional<std::string> serial,
                       std::shared_ptr<Customization> customization) {
  if (!window) hostWithNavigation();
  sdk.performTests("app-0123456789", "key-abcdefghijkl", std::move(tests), std::move(imei),
                   std::move(serial), std::move(customization), completion());
  settle();
}

std::shared_ptr<NavigationController> SdkFixture::navigation() const {
  return window ? std::dynamic_pointer_cast<NavigationController>(window->rootViewController())
                : nullptr;
}

std::shared_ptr<ViewController> SdkFixture::top() const {
  auto stackShown = navigation();
  return stackShown ? stackShown->topViewController() : nullptr;
}

std::string SdkFixture::topInterface() const {
  auto screen = top();
  return screen ? screen->interfaceName() : "none";
}

std::vector<std::string> SdkFixture::stack() const {
  std::vector<std::string> names;
  if (auto stackShown = navigation()) {
    for (const auto& screen : stackShown->viewControllers())
      names.push_back(screen->interfaceName());
  }
  return names;
}

std::shared_ptr<AlertController> SdkFixture::alertOn(
    const std::shared_ptr<ViewController>& screen) const {
  std::shared_ptr<ViewController> presenter = screen;
  if (!presenter) presenter = navigation();
  return presenter
             ? std::dynamic_pointer_cast<AlertController>(presenter->presentedViewController())
             : nullptr;
}

void SdkFixture::press(const std::string& action) {
  auto screen = top();
  ASSERT_TRUE(screen) << "no screen to press " << action << " on";
  ASSERT_TRUE(screen->sendAction(action)) << screen->interfaceName() << " has no " << action;
  settle();
}

}  // namespace quorvel::testing
