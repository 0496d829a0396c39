#pragma once

#include <memory>
#include <string>

#include "quorvel/Export.h"
#include "quorvel/virtual/VirtualRoom.h"

namespace quorvel {

// A person in a virtual room, for unattended runs: told what the app's virtual speaker plays
// (VirtualSpeaker::setListener), they know the word a word clip says, as a listener would; and
// they say words aloud in the room in the clips' voice, for virtual microphones to hear.
class QUORVEL_EXPORT VirtualPerson {
 public:
  explicit VirtualPerson(std::shared_ptr<VirtualRoom> room);

  // The speaker played assetName.
  void hear(const std::string& assetName);
  // The word of the last word clip heard ("dog" after "en-US-dog"); empty before any.
  const std::string& lastWordHeard() const { return lastWord_; }
  // Says word in the room now, in the voice of its word clip (English or Portuguese); the seconds
  // it lasts, or 0 for a word no clip says.
  double say(const std::string& word);

 private:
  std::shared_ptr<VirtualRoom> room_;
  std::string lastWord_;
};

}  // namespace quorvel
