#include "tests/RecordingUpload.h"

#include <filesystem>
#include <system_error>

#include "backend/AssetUploaderWebService.h"
#include "quorvel/platform/Platform.h"
#include "support/Logging.h"

namespace quorvel {

namespace {

void deleteRecording(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    logLine("File does not exist");
  } else if (!std::filesystem::remove(path, error)) {
    logLine("An error took place: " + error.message());
  }
}

std::optional<std::string> urlOf(const std::optional<Dictionary>& response) {
  if (response && response->is_object() && response->contains("url") &&
      (*response)["url"].is_string()) {
    return (*response)["url"].get<std::string>();
  }
  return std::nullopt;
}

}  // namespace

void RecordingUpload::send(const ScreenContext& context, const std::string& file,
                           const std::string& recordingToDelete, std::weak_ptr<const void> owner,
                           std::function<void(std::optional<std::string> url)> done) {
  auto queue = context.ports.mainQueue;
  auto answered = [queue, recordingToDelete, owner = std::move(owner),
                   done = std::move(done)](std::optional<Dictionary> response) {
    queue->async([recordingToDelete, owner, done, response = std::move(response)] {
      deleteRecording(recordingToDelete);
      if (!owner.expired()) done(urlOf(response));
    });
  };
  if (!context.uploader) {
    logLine("No assets backend for this screen; " + file + " is not uploaded");
    answered(std::nullopt);
    return;
  }
  context.uploader->uploadFile(
      file, [answered](std::optional<Dictionary> response, std::optional<std::string>) {
        answered(response);
      });
}

}  // namespace quorvel
