#include "tests/audio/Loudspeaker_v1_ViewController.h"

#include "quorvel/ScreenType.h"

namespace quorvel {

Loudspeaker_v1_ViewController::Loudspeaker_v1_ViewController(ScreenContext context)
    : HeardWordViewController("Loudspeaker_v1_ViewController", ScreenType::loudspeaker_v1,
                              "loudspeaker", true, std::move(context)) {}

void Loudspeaker_v1_ViewController::reportFinished(const Dictionary& result) {
  if (auto target = delegate.lock()) target->Loudspeaker_v1_ViewControllerFinished(*this, result);
}

void Loudspeaker_v1_ViewController::reportCancelled() {
  if (auto target = delegate.lock()) target->Loudspeaker_v1_ViewControllerCancelled(*this);
}

}  // namespace quorvel
