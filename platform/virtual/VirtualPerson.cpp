#include "quorvel/virtual/VirtualPerson.h"

#include "quorvel/Fatal.h"
#include "quorvel/virtual/VirtualSpeaker.h"

namespace quorvel {

namespace {
// Word clips are named "<language>-<word>", the language being "en-US" or "pt-PT".
constexpr std::size_t kPrefixLength = 6;
}  // namespace

VirtualPerson::VirtualPerson(std::shared_ptr<VirtualRoom> room) : room_(std::move(room)) {
  if (!room_) QUORVEL_FATAL("a virtual person needs a room");
}

void VirtualPerson::hear(const std::string& assetName) {
  for (const char* language : {"en-US-", "pt-PT-"}) {
    if (assetName.rfind(language, 0) == 0) lastWord_ = assetName.substr(kPrefixLength);
  }
}

double VirtualPerson::say(const std::string& word) {
  for (const char* language : {"en-US-", "pt-PT-"}) {
    if (auto samples = VirtualSpeaker::assetSamples(language + word)) {
      room_->play(samples);
      return static_cast<double>(samples->size()) / VirtualRoom::kSampleRate;
    }
  }
  return 0;
}

}  // namespace quorvel
