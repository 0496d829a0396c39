#include "support/ScriptedTestScreen.h"

#include "quorvel/QuorvelSDK.h"
#include "quorvel/ScreenType.h"
#include "widgets/HeaderViewHelper.h"

namespace quorvel::testing {

ScriptedTestScreen::ScriptedTestScreen(std::string key, std::string resultKey)
    : ViewController("ScriptedTestScreen"), key_(std::move(key)), resultKey_(std::move(resultKey)) {
  registerOutlet<View>("uiViewHeader");
  registerOutlet<Label>("uiLbTestCounter");
  registerOutlet<ProgressBar>("uiStackViewProgressBar");
  registerAction("finish", [this] {
    auto& run = QuorvelSDK::shared();
    if (key_ == ScreenType::multiple_tests_v2) {
      run.multipleTestsFinished(result);
    } else {
      run.testFinished(resultKey_, result);
    }
  });
  registerAction("cancel", [] { QuorvelSDK::shared().testCancelled(); });
}

void ScriptedTestScreen::viewDidLoad() {
  outlet<Label>("uiLbTestCounter").text = HeaderViewHelper::counterText(key_);
  HeaderViewHelper::progressBar(outlet<ProgressBar>("uiStackViewProgressBar"), key_);
}

void ScriptedTestScreen::viewWillAppear(bool) {
  outlet<View>("uiViewHeader").hidden = !HeaderViewHelper::isHeaderVisible(*this);
}

void bindScriptedScreens(ScreenTable& table) {
  auto bind = [&](const std::string& key, const std::string& resultKey) {
    table.bind(key, [key, resultKey](QuorvelSDK&) {
      return std::make_shared<ScriptedTestScreen>(key, resultKey);
    });
  };
  bind(ScreenType::multiple_tests_v2, "");
  bind(ScreenType::multi_touch_v2, "multi_touch");
  bind(ScreenType::device_front_video_v2, "device_front_video");
  bind(ScreenType::charging_v1, "charging");
}

}  // namespace quorvel::testing
