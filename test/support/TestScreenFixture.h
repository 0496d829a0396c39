#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "AssetsServer.h"
#include "backend/AssetUploaderWebService.h"
#include "run/ScreenTable.h"
#include "support/RecordingTestDelegate.h"
#include "support/SdkFixture.h"
#include "tests/TestViewController.h"
#include "widgets/ScreenContext.h"

namespace quorvel::testing {

// The reference assets server on 127.0.0.1 for the credentials the tests' runs use, storing in a
// fresh folder.
struct LocalAssets {
  static constexpr const char* kApp = "app-0123456789";
  static constexpr const char* kKey = "key-abcdefghijkl";

  LocalAssets() { server.start(); }
  // Where the server keeps the asset that url (or a stored name) names.
  std::filesystem::path stored(const std::string& url) const {
    return server.storage() / kApp / url.substr(url.rfind('/') + 1);
  }

  TemporaryTree storage{"quorvel-assets"};
  // A folder inside, so that the runs database beside it is in the tree too.
  AssetsServer server{AssetsServer::Options{storage.path() / "assets", {kKey}}};
};

// One test screen shown on the host's navigation stack, as the only screen of the run, reporting
// to a recording delegate.
class TestScreenFixture : public SdkFixture {
 protected:
  void SetUp() override {
    SdkFixture::SetUp();
    hostWithNavigation();
    context = ScreenContext{};
    delegate = std::make_shared<RecordingTestDelegate>();
  }

  // configure runs before the screen loads.
  template <class Screen>
  std::shared_ptr<Screen> show(const std::function<void(Screen&)>& configure = nullptr) {
    // The only screen of its run, with the ports installed now.
    context.header = {0, 1};
    context.ports = platform();
    auto screen = std::make_shared<Screen>(context);
    screen->delegate = delegate;
    if (configure) configure(*screen);
    hostNavigation->pushViewController(screen, false);
    settle();
    return screen;
  }
  // The screen the screen table makes for key, shown the same way.
  std::shared_ptr<TestViewController> showKey(const std::string& key) {
    context.header = {0, 1};
    context.ports = platform();
    auto screen = ScreenTable::makeScreen(key, context, delegate);
    hostNavigation->pushViewController(screen, false);
    settle();
    return std::dynamic_pointer_cast<TestViewController>(screen);
  }

  // Screens upload to the reference assets server, started on first use and kept for the test.
  void serveAssets() {
    if (!assets) assets = std::make_unique<LocalAssets>();
    env.setAssetsHost(assets->server.address());
    context.uploader = std::make_shared<AssetUploaderWebService>(
        platform(), Environment::production, LocalAssets::kApp, LocalAssets::kKey);
    context.deviceInfoSHA256 = std::string(64, 'a');
  }

  // Pushes a host screen over the test screen, so that it disappears.
  void cover() {
    hostNavigation->pushViewController(std::make_shared<ViewController>("Over"), false);
  }

  const RecordingTestDelegate::Report& onlyReport() const {
    EXPECT_EQ(delegate->reports.size(), 1u);
    static const RecordingTestDelegate::Report none;
    return delegate->reports.empty() ? none : delegate->reports.back();
  }
  // The only report, once the main queue and the uploads have brought one.
  const RecordingTestDelegate::Report& awaitReport() {
    EXPECT_TRUE(waitUntil([&] { return !delegate->reports.empty(); }));
    return onlyReport();
  }

  // What the screen reads of its run; set before show().
  ScreenContext context;
  std::shared_ptr<RecordingTestDelegate> delegate = std::make_shared<RecordingTestDelegate>();
  std::unique_ptr<LocalAssets> assets;
};

}  // namespace quorvel::testing
