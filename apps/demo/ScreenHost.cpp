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

void ScreenHost::testScreenFinished(TestViewController&, const Dictionary& result) {
  report(result);
}

void ScreenHost::testScreenCancelled(TestViewController&) { report(nullptr); }

}  // namespace quorvel::demo
