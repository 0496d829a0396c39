#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "AssetStore.h"
#include "JudgingPool.h"
#include "RunStore.h"

namespace quorvel {

// Makes runs out of stored results documents: each result with a "url" gets its first verdict
// (pending when its evidence is one of the app's own stored assets and the seal holds), the run
// goes into the run store, and its pending verdicts to the judging pool.
class RunRecorder {
 public:
  // The verdict on one result's evidence; empty: this server does not judge.
  using Judge = std::function<Verdict(std::string_view resultKey, const nlohmann::json& result,
                                      const std::filesystem::path& asset)>;

  RunRecorder(const AssetStore& assets, RunStore& runs, const Judge& judge,
              std::size_t judgingThreads);

  // The run of a results document just stored under results in appID's folder; false with the
  // reason when the run store refused it. Durable when it returns true. Never throws.
  bool record(const std::string& appID, const std::string& results, const std::string& receivedAt,
              bool sealValid, std::string& error);
  // Adds the run of every stored results document the run store lacks (all of them when its
  // database was lost), then queues every verdict still pending. Before any upload comes in.
  bool reconcile(std::string& error);
  // See JudgingPool::stop.
  void stop() { pool_.stop(); }
  bool judgementsAbandoned() const { return pool_.abandoned(); }

  // The "tests_results" object of a stored results document; null when it cannot be read, is too
  // large or too deep, or has none.
  static nlohmann::json testsResults(const std::filesystem::path& document);
  // The document's "data" with only its "device_info" and "tests_results" (those it has); null
  // as for testsResults.
  static nlohmann::json documentData(const std::filesystem::path& document);
  // The name of the app's own stored asset (in folder) that a result's url points at, if any.
  static std::optional<std::string> ownAsset(const AssetStore& assets, std::string_view folder,
                                             std::string_view url);

 private:
  // A document's run and the evidence of each of its pending verdicts.
  RunStore::Run runOf(const std::string& appID, const std::string& results,
                      const std::string& receivedAt, bool sealValid,
                      std::map<std::string, std::string>& pendingAssets) const;

  const AssetStore& assets_;
  RunStore& runs_;
  const bool judging_;
  JudgingPool pool_;
};

}  // namespace quorvel
