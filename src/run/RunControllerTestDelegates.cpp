#include "run/RunController.h"

// The test screens' delegate operations: each files its result under the screen's
// result key, or cancels the run.

namespace quorvel {

void RunController::Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController&,
                                                      const Dictionary& results) {
  testFinished("buttons", results);
}

void RunController::Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController&) {
  testCancelled();
}

void RunController::Charging_v1_ViewControllerFinished(Charging_v1_ViewController&,
                                                       const Dictionary& result) {
  testFinished("charging", result);
}

void RunController::Charging_v1_ViewControllerCancelled(Charging_v1_ViewController&) {
  testCancelled();
}

void RunController::MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController&,
                                                         const Dictionary& result) {
  testFinished("multi_touch", result);
}

void RunController::MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController&) {
  testCancelled();
}

void RunController::MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController&,
                                                         const Dictionary& result) {
  testFinished("multi_touch", result);
}

void RunController::MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController&) {
  testCancelled();
}

void RunController::MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController&,
                                                            const Dictionary& result) {
  multipleTestsFinished(result);
}

void RunController::MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController&) {
  testCancelled();
}

void RunController::DeviceFrontVideo_v1_ViewControllerFinished(DeviceFrontVideo_v1_ViewController&,
                                                               const Dictionary& result) {
  testFinished("device_front_video", result);
}

void RunController::DeviceFrontVideo_v1_ViewControllerCancelled(
    DeviceFrontVideo_v1_ViewController&) {
  testCancelled();
}

void RunController::DeviceFrontVideo_v2_ViewControllerFinished(DeviceFrontVideo_v2_ViewController&,
                                                               const Dictionary& result) {
  testFinished("device_front_video", result);
}

void RunController::DeviceFrontVideo_v2_ViewControllerCancelled(
    DeviceFrontVideo_v2_ViewController&) {
  testCancelled();
}

}  // namespace quorvel
