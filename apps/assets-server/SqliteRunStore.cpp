#include "SqliteRunStore.h"

#include <sqlite3.h>

#include <cstdlib>

namespace quorvel {

namespace {

constexpr int kBusyMilliseconds = 5000;

// Runs are listed by arrival: received_at, then insertion order for the same millisecond.
constexpr const char* kSchema = R"(
  CREATE TABLE IF NOT EXISTS runs(
    seq INTEGER PRIMARY KEY,
    results TEXT NOT NULL UNIQUE,
    app_id TEXT NOT NULL,
    folder TEXT NOT NULL,
    received_at TEXT NOT NULL,
    seal_valid INTEGER NOT NULL);
  CREATE INDEX IF NOT EXISTS runs_by_app ON runs(app_id, received_at, seq);
  CREATE TABLE IF NOT EXISTS verdicts(
    run INTEGER NOT NULL REFERENCES runs(seq),
    result_key TEXT NOT NULL,
    verdict TEXT NOT NULL,
    why TEXT NOT NULL,
    details TEXT NOT NULL,
    asset TEXT,
    PRIMARY KEY(run, result_key)) WITHOUT ROWID;
  CREATE INDEX IF NOT EXISTS pending_verdicts ON verdicts(run) WHERE verdict = 'pending';
)";

constexpr const char* kRunColumns =
    "SELECT seq, app_id, folder, results, received_at, seal_valid FROM runs ";
constexpr const char* kNewestFirst = " ORDER BY received_at DESC, seq DESC LIMIT ?3";
constexpr const char* kAfterRun =
    " AND (received_at, seq) < "
    "(SELECT received_at, seq FROM runs WHERE app_id = ?1 AND results = ?2)";
constexpr const char* kWithFailure =
    " AND EXISTS(SELECT 1 FROM verdicts v WHERE v.run = runs.seq AND v.verdict = 'fail')";

// In the order of SqliteRunStore::Query.
const std::string kSql[] = {
    "INSERT INTO runs(results, app_id, folder, received_at, seal_valid) VALUES(?1, ?2, ?3, ?4, ?5)",
    "INSERT INTO verdicts(run, result_key, verdict, why, details, asset) "
    "VALUES(?1, ?2, ?3, ?4, ?5, ?6)",
    "UPDATE verdicts SET verdict = ?3, why = ?4, details = ?5 "
    "WHERE run = (SELECT seq FROM runs WHERE results = ?1) AND result_key = ?2",
    std::string(kRunColumns) + "WHERE app_id = ?1 AND results = ?2",
    std::string(kRunColumns) + "WHERE app_id = ?1" + kNewestFirst,
    std::string(kRunColumns) + "WHERE app_id = ?1" + kAfterRun + kNewestFirst,
    std::string(kRunColumns) + "WHERE app_id = ?1" + kWithFailure + kNewestFirst,
    std::string(kRunColumns) + "WHERE app_id = ?1" + kAfterRun + kWithFailure + kNewestFirst,
    "SELECT DISTINCT app_id FROM runs ORDER BY app_id",
    "SELECT result_key, verdict, why, details FROM verdicts WHERE run = ?1",
    "SELECT r.folder, r.results, v.result_key, v.asset FROM verdicts v JOIN runs r "
    "ON r.seq = v.run WHERE v.verdict = 'pending' ORDER BY v.run, v.result_key",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};

void bindText(sqlite3_stmt* statement, int index, std::string_view text) {
  sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

std::string column(sqlite3_stmt* statement, int index) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
  return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, index)))
              : std::string();
}

bool done(sqlite3_stmt* statement) { return sqlite3_step(statement) == SQLITE_DONE; }

// Runs sql, keeping the first column of its first row in value.
bool exec(sqlite3* db, const char* sql, std::string* value = nullptr) {
  auto first = [](void* into, int columns, char** values, char**) {
    auto* text = static_cast<std::string*>(into);
    if (text && text->empty() && columns > 0 && values[0]) *text = values[0];
    return 0;
  };
  return sqlite3_exec(db, sql, first, value, nullptr) == SQLITE_OK;
}

}  // namespace

std::unique_ptr<SqliteRunStore> SqliteRunStore::open(const std::filesystem::path& file,
                                                     std::string& error) {
  std::unique_ptr<SqliteRunStore> store(new SqliteRunStore());
  store->file_ = file;
  if (sqlite3_open_v2(file.c_str(), &store->db_,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                      nullptr) != SQLITE_OK) {
    error = store->failure("cannot open");
    return nullptr;
  }
  sqlite3* db = store->db_;
  sqlite3_busy_timeout(db, kBusyMilliseconds);
  std::string mode, check, version;
  // A file that is not a database fails here, at its first read, rather than on a later upload.
  if (!exec(db, "PRAGMA journal_mode = WAL", &mode) || mode != "wal" ||
      !exec(db, "PRAGMA synchronous = FULL") || !exec(db, "PRAGMA user_version", &version)) {
    error = store->failure("cannot open");
    return nullptr;
  }
  // A damaged page would otherwise surface only when some request happens to read it.
  if (!exec(db, "PRAGMA quick_check(1)", &check) || check != "ok") {
    error = "the runs database " + file.string() +
            " is damaged: " + (check.empty() ? sqlite3_errmsg(db) : check);
    return nullptr;
  }
  const int schema = std::atoi(version.c_str());
  if (schema > kSchemaVersion) {
    error = "the runs database " + file.string() + " was written by a newer server (schema " +
            version + ")";
    return nullptr;
  }
  const std::string create = std::string("BEGIN IMMEDIATE;") + kSchema +
                             "PRAGMA user_version = " + std::to_string(kSchemaVersion) + ";COMMIT;";
  if (schema < kSchemaVersion && !exec(db, create.c_str())) {
    error = store->failure("cannot make the tables in");
    return nullptr;
  }
  if (!store->prepare(error)) return nullptr;
  return store;
}

SqliteRunStore::~SqliteRunStore() {
  statements_.clear();
  sqlite3_close(db_);
}

bool SqliteRunStore::prepare(std::string& error) {
  for (const std::string& sql : kSql) {
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()),
                           SQLITE_PREPARE_PERSISTENT, &prepared, nullptr) != SQLITE_OK) {
      error = failure("cannot prepare a query on");
      return false;
    }
    statements_.emplace_back(prepared, sqlite3_finalize);
  }
  return true;
}

sqlite3_stmt* SqliteRunStore::statement(Query query) {
  sqlite3_stmt* prepared = statements_[query].get();
  sqlite3_reset(prepared);
  sqlite3_clear_bindings(prepared);
  return prepared;
}

std::string SqliteRunStore::failure(std::string_view what) const {
  return std::string(what) + " the runs database " + file_.string() + ": " +
         (db_ ? sqlite3_errmsg(db_) : "out of memory");
}

bool SqliteRunStore::add(const Run& run, const std::map<std::string, std::string>& pendingAssets,
                         std::string& error) {
  std::lock_guard lock(mutex_);
  bool stored = done(statement(kBegin));
  sqlite3_stmt* insert = statement(kInsertRun);
  bindText(insert, 1, run.results);
  bindText(insert, 2, run.appID);
  bindText(insert, 3, run.folder);
  bindText(insert, 4, run.receivedAt);
  sqlite3_bind_int(insert, 5, run.sealValid ? 1 : 0);
  stored = stored && done(insert);
  const sqlite3_int64 seq = sqlite3_last_insert_rowid(db_);
  for (auto verdict = run.verdicts.begin(); stored && verdict != run.verdicts.end(); ++verdict) {
    sqlite3_stmt* row = statement(kInsertVerdict);
    sqlite3_bind_int64(row, 1, seq);
    bindText(row, 2, verdict->first);
    bindText(row, 3, verdict->second.verdict);
    bindText(row, 4, verdict->second.why);
    bindText(
        row, 5,
        verdict->second.details.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    auto asset = pendingAssets.find(verdict->first);
    if (asset != pendingAssets.end()) bindText(row, 6, asset->second);
    stored = done(row);
  }
  stored = stored && done(statement(kCommit));
  if (!stored) {
    error = failure("cannot add a run to");
    done(statement(kRollback));
  }
  return stored;
}

bool SqliteRunStore::setVerdict(std::string_view results, std::string_view resultKey,
                                const Verdict& verdict, std::string& error) {
  std::lock_guard lock(mutex_);
  sqlite3_stmt* update = statement(kSetVerdict);
  bindText(update, 1, results);
  bindText(update, 2, resultKey);
  bindText(update, 3, verdict.verdict);
  bindText(update, 4, verdict.why);
  bindText(update, 5,
           verdict.details.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  if (!done(update)) {
    error = failure("cannot store a verdict in");
    return false;
  }
  if (sqlite3_changes(db_) == 0) {
    error = "no verdict " + std::string(resultKey) + " of run " + std::string(results);
    return false;
  }
  return true;
}

bool SqliteRunStore::readRuns(sqlite3_stmt* rows, std::vector<Run>& runs) {
  std::vector<sqlite3_int64> seqs;
  int step;
  while ((step = sqlite3_step(rows)) == SQLITE_ROW) {
    seqs.push_back(sqlite3_column_int64(rows, 0));
    runs.push_back(Run{column(rows, 1),
                       column(rows, 2),
                       column(rows, 3),
                       column(rows, 4),
                       sqlite3_column_int(rows, 5) != 0,
                       {}});
  }
  sqlite3_reset(rows);
  if (step != SQLITE_DONE) return false;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    sqlite3_stmt* verdicts = statement(kVerdicts);
    sqlite3_bind_int64(verdicts, 1, seqs[i]);
    while ((step = sqlite3_step(verdicts)) == SQLITE_ROW) {
      nlohmann::json details = nlohmann::json::parse(column(verdicts, 3), nullptr, false);
      if (!details.is_object()) details = nlohmann::json::object();
      runs[i].verdicts[column(verdicts, 0)] =
          Verdict{column(verdicts, 1), column(verdicts, 2), std::move(details)};
    }
    sqlite3_reset(verdicts);
    if (step != SQLITE_DONE) return false;
  }
  return true;
}

std::optional<RunStore::Page> SqliteRunStore::list(std::string_view appID, std::string_view before,
                                                   std::size_t limit, bool failedOnly,
                                                   std::string& error) {
  std::lock_guard lock(mutex_);
  const Query query = failedOnly ? (before.empty() ? kNewestFailed : kBeforeFailed)
                                 : (before.empty() ? kNewest : kBefore);
  sqlite3_stmt* rows = statement(query);
  bindText(rows, 1, appID);
  if (!before.empty()) bindText(rows, 2, before);
  // One more than asked tells whether more follow.
  sqlite3_bind_int64(rows, 3, static_cast<sqlite3_int64>(limit) + 1);
  Page page;
  if (!readRuns(rows, page.runs)) {
    error = failure("cannot read");
    return std::nullopt;
  }
  if (page.runs.size() > limit) {
    page.runs.pop_back();
    page.next = page.runs.back().results;
  }
  return page;
}

std::optional<RunStore::Run> SqliteRunStore::find(std::string_view appID, std::string_view results,
                                                  std::string& error) {
  std::lock_guard lock(mutex_);
  sqlite3_stmt* rows = statement(kFind);
  bindText(rows, 1, appID);
  bindText(rows, 2, results);
  std::vector<Run> runs;
  if (!readRuns(rows, runs)) {
    error = failure("cannot read");
    return std::nullopt;
  }
  if (runs.empty()) return std::nullopt;
  return std::move(runs.front());
}

std::optional<std::vector<std::string>> SqliteRunStore::apps(std::string& error) {
  std::lock_guard lock(mutex_);
  sqlite3_stmt* rows = statement(kApps);
  std::vector<std::string> ids;
  int step;
  while ((step = sqlite3_step(rows)) == SQLITE_ROW) ids.push_back(column(rows, 0));
  sqlite3_reset(rows);
  if (step != SQLITE_DONE) {
    error = failure("cannot read");
    return std::nullopt;
  }
  return ids;
}

std::optional<std::vector<RunStore::Judgement>> SqliteRunStore::pending(std::string& error) {
  std::lock_guard lock(mutex_);
  sqlite3_stmt* rows = statement(kPending);
  std::vector<Judgement> judgements;
  int step;
  while ((step = sqlite3_step(rows)) == SQLITE_ROW) {
    judgements.push_back({column(rows, 0), column(rows, 1), column(rows, 2), column(rows, 3)});
  }
  sqlite3_reset(rows);
  if (step != SQLITE_DONE) {
    error = failure("cannot read");
    return std::nullopt;
  }
  return judgements;
}

}  // namespace quorvel
