#include "support/RunReset.h"

#include "quorvel/ui/LoadingView.h"

namespace quorvel::testing {

void resetRun(QuorvelSDK& sdk) {
  sdk.environment = Environment::production;
  sdk.language = SupportedLanguage::english;
  sdk.hideStartScreen = false;
  sdk.themeColor.reset();
  sdk.requestIdentifier = true;
  sdk.customization.reset();
  sdk.testsCompletionHandler = nullptr;
  sdk.lastDeviceInfoSHA256Value.clear();
  sdk.nextTestIndex = -1;
  sdk.testResults = Dictionary::object();
  sdk.finalResponseObject = Dictionary::object();
  sdk.rootViewControllerVCS.clear();
  sdk.appID.reset();
  sdk.apiKey.reset();
  sdk.imei.reset();
  sdk.imei_image_url.reset();
  sdk.serialNumber.reset();
  sdk.serialNumber_image_url.reset();
  sdk.selectedTests.clear();
  sdk.multipleTestsList.clear();
  sdk.isAppNavigationBarHidden = false;
  sdk.navigationController.reset();
  sdk.loadingView->removeFromWindow();
}

}  // namespace quorvel::testing
