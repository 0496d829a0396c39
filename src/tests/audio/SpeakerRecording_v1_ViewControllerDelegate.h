#pragma once

#include "quorvel/Dictionary.h"

namespace quorvel {

class SpeakerRecording_v1_ViewController;

class SpeakerRecording_v1_ViewControllerDelegate {
 public:
  virtual ~SpeakerRecording_v1_ViewControllerDelegate() = default;
  virtual void SpeakerRecording_v1_ViewControllerFinished(SpeakerRecording_v1_ViewController& vc,
                                                          const Dictionary& result) = 0;
  virtual void SpeakerRecording_v1_ViewControllerCancelled(
      SpeakerRecording_v1_ViewController& vc) = 0;
};

}  // namespace quorvel
