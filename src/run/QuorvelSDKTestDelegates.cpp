#include "quorvel/QuorvelSDK.h"

// The physical test screens' delegate operations: each files its result under the screen's
// result key, or cancels the run.

namespace quorvel {

void QuorvelSDK::Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController&,
                                                   const Dictionary& results) {
  testFinished("buttons", results);
}

void QuorvelSDK::Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController&) { testCancelled(); }

void QuorvelSDK::Charging_v1_ViewControllerFinished(Charging_v1_ViewController&,
                                                    const Dictionary& result) {
  testFinished("charging", result);
}

void QuorvelSDK::Charging_v1_ViewControllerCancelled(Charging_v1_ViewController&) {
  testCancelled();
}

void QuorvelSDK::MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController&,
                                                      const Dictionary& result) {
  testFinished("multi_touch", result);
}

void QuorvelSDK::MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController&) {
  testCancelled();
}

void QuorvelSDK::MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController&,
                                                      const Dictionary& result) {
  testFinished("multi_touch", result);
}

void QuorvelSDK::MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController&) {
  testCancelled();
}

void QuorvelSDK::MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController&,
                                                         const Dictionary& result) {
  multipleTestsFinished(result);
}

void QuorvelSDK::MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController&) {
  testCancelled();
}

}  // namespace quorvel
