#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "RunStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace quorvel {

// The runs in one SQLite database file (WAL, synchronous=FULL): a run is on the disk when add()
// returns, so a crash right after an upload's answer loses nothing the answer promised.
//
// One connection behind one mutex: SQLite writes one transaction at a time anyway, the calls are
// short indexed lookups, and one connection keeps every prepared statement in one place whatever
// thread (an I/O pool's, a judge's) comes along.
class SqliteRunStore final : public RunStore {
 public:
  // What PRAGMA user_version holds for the schema below; a newer one is refused.
  static constexpr int kSchemaVersion = 1;

  // Opens the database (made when missing) and checks it; nothing, with the file's path and
  // SQLite's reason, when it cannot be used.
  static std::unique_ptr<SqliteRunStore> open(const std::filesystem::path& file,
                                              std::string& error);
  ~SqliteRunStore() override;
  SqliteRunStore(const SqliteRunStore&) = delete;
  SqliteRunStore& operator=(const SqliteRunStore&) = delete;

  bool add(const Run& run, const std::map<std::string, std::string>& pendingAssets,
           std::string& error) override;
  bool setVerdict(std::string_view results, std::string_view resultKey, const Verdict& verdict,
                  std::string& error) override;
  std::optional<Page> list(std::string_view appID, std::string_view before, std::size_t limit,
                           bool failedOnly, std::string& error) override;
  std::optional<std::vector<std::string>> apps(std::string& error) override;
  std::optional<Run> find(std::string_view appID, std::string_view results,
                          std::string& error) override;
  std::optional<std::vector<Judgement>> pending(std::string& error) override;

 private:
  using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;
  enum Query {
    kInsertRun,
    kInsertVerdict,
    kSetVerdict,
    kFind,
    kNewest,
    kBefore,
    kNewestFailed,
    kBeforeFailed,
    kApps,
    kVerdicts,
    kPending,
    kBegin,
    kCommit,
    kRollback,
    kQueries
  };

  SqliteRunStore() = default;
  bool prepare(std::string& error);
  // The statement reset, its bindings cleared.
  sqlite3_stmt* statement(Query query);
  // Reads the rows of a run query and their verdicts; false on a database error.
  bool readRuns(sqlite3_stmt* rows, std::vector<Run>& runs);
  std::string failure(std::string_view what) const;

  std::mutex mutex_;
  sqlite3* db_ = nullptr;
  std::filesystem::path file_;
  std::vector<Statement> statements_;
};

}  // namespace quorvel
