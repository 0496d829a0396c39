#include "run/ResultsSubmission.h"

#include <filesystem>
#include <fstream>

#include "backend/AssetUploaderWebService.h"
#include "device/CryptoHelper.h"
#include "quorvel/ui/AlertController.h"
#include "support/JsonText.h"
#include "support/Logging.h"
#include "support/MainQueueCheck.h"
#include "support/Uuid.h"

namespace quorvel {

namespace {

// The JSON text every writer of the run uses: compact, keys sorted, invalid UTF-8 replaced.
std::string jsonDocument(const Dictionary& value) {
  return value.dump(-1, ' ', false, Dictionary::error_handler_t::replace);
}

// Writes text to path through a temporary file in the same folder, so a reader never sees a
// half-written document and an earlier one is replaced in one step.
bool writeAtomically(const std::filesystem::path& path, const std::string& text) {
  std::error_code failure;
  std::filesystem::create_directories(path.parent_path(), failure);
  if (failure) return false;
  std::filesystem::path temporary = path;
  temporary += ".part-" + makeUUIDString();
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    if (!out) {
      std::filesystem::remove(temporary, failure);
      return false;
    }
  }
  std::filesystem::rename(temporary, path, failure);
  if (failure) std::filesystem::remove(temporary, failure);
  return !failure;
}

void removeFile(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

}  // namespace

ResultsSubmission::ResultsSubmission(const Platform& ports, SupportedLanguage language, Run run)
    : queue_(ports.mainQueue), device_(ports.device), language_(language), run_(std::move(run)) {}

std::string ResultsSubmission::documentText(const Dictionary& results, const std::string& appID) {
  std::string text = jsonDocument(results);
  std::string seal = CryptoHelper::hexString(CryptoHelper::sha256(std::string_view(text + appID)));
  return jsonDocument(Dictionary{{"sha256", seal}, {"data", results}});
}

void ResultsSubmission::submit(const Dictionary& results, const std::string& appID,
                               const std::shared_ptr<const AssetUploaderWebService>& uploader) {
  const std::string path =
      (std::filesystem::path(device_->documentsDirectory()) / "jsonResults.json").string();
  if (!writeAtomically(path, documentText(results, appID))) {
    logLine("Cannot write " + path);
    failed();
    return;
  }
  std::weak_ptr<ResultsSubmission> weak = weak_from_this();
  auto settled = std::make_shared<bool>(false);
  // The answer arrives on the HTTP client's thread and is settled on the main queue.
  auto task = uploader->uploadFile(
      path, [weak, queue = queue_, path, settled](std::optional<Dictionary> response,
                                                  std::optional<std::string> error) {
        queue->async([weak, path, settled, response = std::move(response), error] {
          checkOnMainQueue("the results upload's answer");
          // Too late: the strict wait gave up on it, and a new press may own the document by now.
          if (*settled) return;
          // Answered: the document leaves the device as every captured file does. A new press
          // writes it anew from the results, which stay with the run.
          removeFile(path);
          if (auto self = weak.lock()) self->answered(*settled, response, error);
        });
      });
  if (!uploader->isStrict()) return;
  queue_->asyncAfter(strictAnswerWaitSeconds, [weak, path, settled, task] {
    if (*settled) return;
    *settled = true;
    logLine("No answer to the results upload in time");
    if (task) task->cancel();
    removeFile(path);
    // As for a late answer: once the host has had its answer, no alert goes over its screens.
    if (auto self = weak.lock(); self && self->run_.awaitsAnswer()) self->failed();
  });
}

void ResultsSubmission::answered(bool& settled, const std::optional<Dictionary>& response,
                                 const std::optional<std::string>& error) {
  // The host has had its answer (a second Finish's upload answered first): a late failure would
  // put the retry alert over the host's own screens.
  if (!run_.awaitsAnswer()) return;
  // Neither an error nor an answer: the run stays open under the overlay, and settles nothing, so
  // an answer that still comes for the same upload can end it.
  if (!error && !response) return;
  settled = true;
  if (error) {
    failed();
    return;
  }
  run_.uploaded(
      {{"filename", stringValue(*response, "filename")}, {"url", stringValue(*response, "url")}});
}

void ResultsSubmission::failed() {
  std::weak_ptr<ResultsSubmission> weak = weak_from_this();
  queue_->async([weak] {
    auto self = weak.lock();
    if (!self) return;
    auto copy = [language = self->language_](std::string_view key) {
      return Localization::copy(key, language);
    };
    auto alert = AlertController::make("", copy("error_uploading_results_to_server_message"));
    // The end screen learns of the closed alert on the next turn, once the alert is gone.
    alert->addAction({copy("ok"), AlertActionStyle::standard, [weak, queue = self->queue_] {
                        logLine("Error uploading tests results");
                        queue->async([weak] {
                          if (auto submission = weak.lock()) submission->run_.alertClosed();
                        });
                      }});
    alert->addAction({copy("try_later"), AlertActionStyle::destructive, [weak] {
                        if (auto submission = weak.lock()) submission->run_.givenUp();
                      }});
    self->run_.present(alert);
  });
}

}  // namespace quorvel
