#pragma once

#include <functional>
#include <memory>
#include <string>

#include "quorvel/Dictionary.h"
#include "quorvel/Localization.h"
#include "quorvel/platform/Platform.h"

namespace quorvel {

class AlertController;
class AssetUploaderWebService;

// The run's results on their way to the assets backend: sealed with the app ID, written to the
// documents folder as "jsonResults.json" in one step, sent, and removed once answered. A failure
// puts the retry alert up. Each submission settles once, by its answer or (strict uploads) by
// the strict wait, whichever comes first; the other is dropped.
class ResultsSubmission : public std::enable_shared_from_this<ResultsSubmission> {
 public:
  // With strict uploads, the longest wait for the results' answer before the failure alert: above
  // the 60 s idle time-out of one request, so a stalled one fails by itself first; this catches
  // an answer that never ends (a peer trickling forever, a host client that never calls back).
  static constexpr double strictAnswerWaitSeconds = 90;

  // What the submission tells its run, on the main queue.
  struct Run {
    // False once the host has had its answer: nothing more is shown over its screens.
    std::function<bool()> awaitsAnswer;
    // The backend took the document: its "filename" and "url".
    std::function<void(Dictionary uploadedResultsInfo)> uploaded;
    // The person closed the retry alert ("ok") to press Finish again, or gave up ("try later").
    std::function<void()> alertClosed;
    std::function<void()> givenUp;
    std::function<void(std::shared_ptr<AlertController>)> present;
  };

  // One per run, with the run's ports and language.
  ResultsSubmission(const Platform& ports, SupportedLanguage language, Run run);

  // The uploaded document: {"sha256": seal of the JSON text of results + appID, "data": results}.
  static std::string documentText(const Dictionary& results, const std::string& appID);

  // Writes results and sends them with uploader; a new submission replaces the document of the
  // one before.
  void submit(const Dictionary& results, const std::string& appID,
              const std::shared_ptr<const AssetUploaderWebService>& uploader);

 private:
  void answered(bool& settled, const std::optional<Dictionary>& response,
                const std::optional<std::string>& error);
  void failed();

  std::shared_ptr<MainQueue> queue_;
  std::shared_ptr<Device> device_;
  SupportedLanguage language_;
  Run run_;
};

}  // namespace quorvel
