#include "tests/audio/Earspeaker_v1_ViewController.h"

#include "quorvel/ScreenType.h"

namespace quorvel {

Earspeaker_v1_ViewController::Earspeaker_v1_ViewController(ScreenContext context)
    : HeardWordViewController("Earspeaker_v1_ViewController", ScreenType::earspeaker_v1,
                              "earspeaker", false, std::move(context)) {}

void Earspeaker_v1_ViewController::reportFinished(const Dictionary& result) {
  if (auto target = delegate.lock()) target->Earspeaker_v1_ViewControllerFinished(*this, result);
}

void Earspeaker_v1_ViewController::reportCancelled() {
  if (auto target = delegate.lock()) target->Earspeaker_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
