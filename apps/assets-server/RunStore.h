#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Verdict.h"

namespace quorvel {

// Where the server keeps its runs: one per stored results document, with a verdict per result
// that points at evidence. Kept behind this interface so that a deployment larger than one machine
// can keep runs in a shared database. Safe to call from several threads at once. Nothing throws
// across it: a failure comes back as false or nothing, with the reason in error.
class RunStore {
 public:
  struct Run {
    std::string appID;
    // AssetStore::folderName(appID): where the results document and its evidence are.
    std::string folder;
    // The results document's stored name, unique among all runs: the run's name.
    std::string results;
    std::string receivedAt;
    bool sealValid = false;
    // By result key.
    std::map<std::string, Verdict> verdicts;
  };

  // A verdict still pending: its run, its result, and the stored evidence it waits to judge.
  struct Judgement {
    std::string folder;
    std::string results;
    std::string resultKey;
    std::string asset;
  };

  struct Page {
    std::vector<Run> runs;
    // The run to continue after, when more follow.
    std::optional<std::string> next;
  };

  virtual ~RunStore() = default;

  // Durable when it returns true. pendingAssets names the evidence of each pending verdict.
  virtual bool add(const Run& run, const std::map<std::string, std::string>& pendingAssets,
                   std::string& error) = 0;
  virtual bool setVerdict(std::string_view results, std::string_view resultKey,
                          const Verdict& verdict, std::string& error) = 0;
  // An app's runs, newest first, starting after the run named before (from the newest when
  // empty); with failedOnly, only runs with at least one failed verdict. A before that is not one
  // of the app's runs yields an empty page.
  virtual std::optional<Page> list(std::string_view appID, std::string_view before,
                                   std::size_t limit, bool failedOnly, std::string& error) = 0;
  // The IDs of the apps that have runs, in byte order.
  virtual std::optional<std::vector<std::string>> apps(std::string& error) = 0;
  // Nothing with an empty error when the app has no such run.
  virtual std::optional<Run> find(std::string_view appID, std::string_view results,
                                  std::string& error) = 0;
  virtual std::optional<std::vector<Judgement>> pending(std::string& error) = 0;
};

}  // namespace quorvel
