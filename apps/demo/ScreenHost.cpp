#include "ScreenHost.h"

#include "quorvel/ScreenType.h"

namespace quorvel::demo {

bool ScreenHost::succeeded(const Dictionary& result) {
  if (!result.is_object() || result.empty()) return false;
  if (auto it = result.find("success"); it != result.end()) return *it == true;
  for (const auto& [key, value] : result.items()) {
    if (value.is_object() && !succeeded(value)) return false;
  }
  return true;
}

std::vector<std::string> ScreenHost::multipleTestsList() const {
  return {ScreenType::buttons_v2, ScreenType::charging_v2};
}

void ScreenHost::report(const Dictionary& result) {
  if (!reported_) return;
  auto reported = std::move(reported_);
  reported_ = nullptr;
  reported(result);
}

void ScreenHost::Buttons_v1_ViewControllerFinished(Buttons_v1_ViewController&,
                                                   const Dictionary& results) {
  report(results);
}
void ScreenHost::Buttons_v1_ViewControllerCancelled(Buttons_v1_ViewController&) { report(nullptr); }
void ScreenHost::Charging_v1_ViewControllerFinished(Charging_v1_ViewController&,
                                                    const Dictionary& result) {
  report(result);
}
void ScreenHost::Charging_v1_ViewControllerCancelled(Charging_v1_ViewController&) {
  report(nullptr);
}
void ScreenHost::MultiTouch_v1_ViewControllerFinished(MultiTouch_v1_ViewController&,
                                                      const Dictionary& result) {
  report(result);
}
void ScreenHost::MultiTouch_v1_ViewControllerCancelled(MultiTouch_v1_ViewController&) {
  report(nullptr);
}
void ScreenHost::MultiTouch_v2_ViewControllerFinished(MultiTouch_v2_ViewController&,
                                                      const Dictionary& result) {
  report(result);
}
void ScreenHost::MultiTouch_v2_ViewControllerCancelled(MultiTouch_v2_ViewController&) {
  report(nullptr);
}
void ScreenHost::MultipleTests_v2_ViewControllerFinished(MultipleTests_v2_ViewController&,
                                                         const Dictionary& result) {
  report(result);
}
void ScreenHost::MultipleTests_v2_ViewControllerCancelled(MultipleTests_v2_ViewController&) {
  report(nullptr);
}
void ScreenHost::DeviceFrontVideo_v1_ViewControllerFinished(DeviceFrontVideo_v1_ViewController&,
                                                            const Dictionary& result) {
  report(result);
}
void ScreenHost::DeviceFrontVideo_v1_ViewControllerCancelled(DeviceFrontVideo_v1_ViewController&) {
  report(nullptr);
}
void ScreenHost::DeviceFrontVideo_v2_ViewControllerFinished(DeviceFrontVideo_v2_ViewController&,
                                                            const Dictionary& result) {
  report(result);
}
void ScreenHost::DeviceFrontVideo_v2_ViewControllerCancelled(DeviceFrontVideo_v2_ViewController&) {
  report(nullptr);
}

}  // namespace quorvel::demo
