#include "RunRecorder.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "RequestTarget.h"
#include "ResultsSeal.h"

namespace quorvel {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr const char* kSealNotValid =
    "the results' seal is not valid, so their evidence is not judged";
constexpr const char* kNotHere = "the evidence is not among this app's uploads on this server";
constexpr const char* kNotJudging = "this server does not judge evidence";
constexpr const char* kUnreadable = "the results document can no longer be read";

// Everything a judgement needs is copied in: the pool may outlive the recorder.
JudgingPool::Judge judgeFrom(const fs::path& root, const RunRecorder::Judge& judge) {
  return [root, judge](const RunStore::Judgement& judgement) {
    const json results = RunRecorder::testsResults(root / judgement.folder / judgement.results);
    if (!results.is_object() || !results.contains(judgement.resultKey)) {
      return Verdict::unknown(kUnreadable);
    }
    return judge(judgement.resultKey, results[judgement.resultKey],
                 root / judgement.folder / judgement.asset);
  };
}

}  // namespace

RunRecorder::RunRecorder(const AssetStore& assets, RunStore& runs, const Judge& judge,
                         std::size_t judgingThreads)
    : assets_(assets),
      runs_(runs),
      judging_(static_cast<bool>(judge)),
      pool_(runs, judgeFrom(assets.root(), judge), judging_ ? judgingThreads : 1) {}

// The name of the app's own stored asset that url points at. Only the path is compared: a proxy
// in front of the server may change its scheme, host and port.
std::optional<std::string> RunRecorder::ownAsset(const AssetStore& assets, std::string_view folder,
                                                 std::string_view url) {
  auto asset = RequestTarget::asset(RequestTarget::path(url));
  if (!asset || asset->first != folder || !assets.find(asset->first, asset->second)) {
    return std::nullopt;
  }
  return std::string(asset->second);
}

json RunRecorder::testsResults(const fs::path& document) {
  json data = documentData(document);
  if (data.is_object() && data.contains("tests_results") && data["tests_results"].is_object()) {
    return data["tests_results"];
  }
  return nullptr;
}

json RunRecorder::documentData(const fs::path& document) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(document, error);
  std::ifstream in(document, std::ios::binary);
  if (error || size > ResultsSeal::kMaxDocumentBytes || !in) return nullptr;
  // Only those parts of data are kept, and nothing deeper than a sealed document may be is read.
  auto keep = [](int depth, json::parse_event_t event, json& parsed) {
    if (depth > static_cast<int>(ResultsSeal::kMaxDepth)) throw std::length_error("too deep");
    if (event != json::parse_event_t::key) return true;
    return (depth != 1 || parsed == "data") &&
           (depth != 2 || parsed == "tests_results" || parsed == "device_info");
  };
  try {
    json whole = json::parse(in, keep, false);
    if (whole.is_object() && whole.contains("data") && whole["data"].is_object()) {
      return std::move(whole["data"]);
    }
  } catch (const std::exception&) {
  }
  return nullptr;
}

RunStore::Run RunRecorder::runOf(const std::string& appID, const std::string& results,
                                 const std::string& receivedAt, bool sealValid,
                                 std::map<std::string, std::string>& pendingAssets) const {
  RunStore::Run run{appID, AssetStore::folderName(appID), results, receivedAt, sealValid, {}};
  const json found = testsResults(assets_.root() / run.folder / results);
  if (!found.is_object()) return run;
  for (const auto& [key, result] : found.items()) {
    if (!result.is_object() || !result.contains("url") || !result["url"].is_string()) continue;
    const std::optional<std::string> asset =
        sealValid ? ownAsset(assets_, run.folder, result["url"].get<std::string>()) : std::nullopt;
    if (!sealValid) {
      run.verdicts[key] = Verdict::unknown(kSealNotValid);
    } else if (!asset) {
      run.verdicts[key] = Verdict::unknown(kNotHere);
    } else if (!judging_) {
      run.verdicts[key] = Verdict::unknown(kNotJudging);
    } else {
      run.verdicts[key] = Verdict::pending();
      pendingAssets[key] = *asset;
    }
  }
  return run;
}

bool RunRecorder::record(const std::string& appID, const std::string& results,
                         const std::string& receivedAt, bool sealValid, std::string& error) {
  try {
    std::map<std::string, std::string> pendingAssets;
    RunStore::Run run = runOf(appID, results, receivedAt, sealValid, pendingAssets);
    if (!runs_.add(run, pendingAssets, error)) return false;
    for (const auto& [key, asset] : pendingAssets) pool_.queue({run.folder, results, key, asset});
    return true;
  } catch (const std::exception& failure) {
    error = "cannot record the run of " + results + ": " + failure.what();
    return false;
  }
}

bool RunRecorder::reconcile(std::string& error) {
  const std::string suffix = "-" + std::string(ResultsSeal::kDocumentName);
  // Added in the order they arrived, so that a rebuilt database lists them as the lost one did.
  std::vector<std::tuple<std::string, std::string, std::string, bool>> missing;
  try {
    for (const auto& folder : fs::directory_iterator(assets_.root())) {
      if (!folder.is_directory()) continue;
      for (const auto& entry : fs::directory_iterator(folder.path())) {
        const std::string name = entry.path().filename().string();
        if (!name.ends_with(suffix)) continue;
        std::ifstream in(entry.path().string() + std::string(AssetStore::kMetadataSuffix));
        const json metadata = json::parse(in, nullptr, false);
        // Only a results document has its seal's verdict in its metadata.
        if (!metadata.is_object() || metadata.value("stored_filename", "") != name ||
            !metadata.contains("seal_valid") || !metadata["seal_valid"].is_boolean() ||
            !metadata["app_id"].is_string() || !metadata["received_at"].is_string()) {
          continue;
        }
        const auto appID = metadata["app_id"].get<std::string>();
        if (AssetStore::folderName(appID) != folder.path().filename().string()) continue;
        if (runs_.find(appID, name, error)) continue;
        if (!error.empty()) return false;
        missing.emplace_back(metadata["received_at"].get<std::string>(), name, appID,
                             metadata["seal_valid"].get<bool>());
      }
    }
  } catch (const std::exception& failure) {
    error = "cannot read the stored results documents: " + std::string(failure.what());
    return false;
  }
  std::sort(missing.begin(), missing.end());
  for (const auto& [receivedAt, results, appID, sealValid] : missing) {
    std::map<std::string, std::string> pendingAssets;
    if (!runs_.add(runOf(appID, results, receivedAt, sealValid, pendingAssets), pendingAssets,
                   error)) {
      return false;
    }
  }
  if (!judging_) return true;
  auto pending = runs_.pending(error);
  if (!pending) return false;
  for (auto& judgement : *pending) pool_.queue(std::move(judgement));
  return true;
}

}  // namespace quorvel
