#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "widgets/ScreenContext.h"

namespace quorvel {

// What every recording test does on submission: uploads a file with the run's credentials and,
// once the backend has answered (whatever it answered), deletes the local recording. done runs on
// the main queue with the address the backend gave the file, or nothing when the upload failed or
// its answer has none; it does not run once owner is gone.
class RecordingUpload {
 public:
  static void send(const ScreenContext& context, const std::string& file,
                   const std::string& recordingToDelete, std::weak_ptr<const void> owner,
                   std::function<void(std::optional<std::string> url)> done);
};

}  // namespace quorvel
