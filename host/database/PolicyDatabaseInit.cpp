#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/base/strict_number.h"
#include "host/base/terminal_text.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/database_failure_internal.h"
#include "host/database/session_internal.h"

namespace zrhost {
namespace {

namespace fs = std::filesystem;

// In the order in which they can be dropped: what refers to others first.
constexpr const char* kTables[] = {"ep_link", "policy_rule", "policy", "policy_revision"};

// A new, empty file for the database when there is none, removed again unless it is kept. Made by this process alone,
// so that nobody else's file is ever removed.
class NewFile {
 public:
  explicit NewFile(const std::string& path) : m_path(path) {
    struct stat status {};
    if (path.empty() || lstat(path.c_str(), &status) == 0) return;
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno != EEXIST) {
      throw HostError(ErrorKind::kUnreachable, oneLine("cannot create the database '" + path + "': " +
                                                       std::strerror(errno) + "; name a place that can be written"));
    }
    m_made = file >= 0;
    if (m_made) close(file);
  }
  ~NewFile() {
    if (!m_made) return;
    for (const char* part : {"", "-wal", "-shm", "-journal"})
      unlink((m_path + part).c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  void keep() { m_made = false; }

 private:
  std::string m_path;
  bool m_made = false;
};

std::string journalMode(Session& session, const std::string& mode) {
  mode.empty() ? session.run("journal_mode.sql") : session.run("set_journal_mode.sql", mode.c_str());
  return session.next() ? session.text("journal_mode") : std::string();
}

// Puts an SQLite file into WAL mode, and back into its old one unless that is kept. The mode belongs to no transaction.
class WalMode {
 public:
  explicit WalMode(Session& session) : m_session(session), m_old(journalMode(session, {})) {
    if (journalMode(session, "wal") != "wal") {
      throw HostError(ErrorKind::kUnreachable, oneLine("the file system of " + placeOf(session.options()) +
                                                       " does not take a database in WAL mode; use a local disk"));
    }
  }
  ~WalMode() {
    if (m_kept || m_old == "wal") return;
    try {
      journalMode(m_session, m_old);
    } catch (...) {  // the failure that led here is the one to report
    }
  }
  WalMode(const WalMode&) = delete;
  WalMode& operator=(const WalMode&) = delete;
  void keep() { m_kept = true; }

 private:
  Session& m_session;
  std::string m_old;
  bool m_kept = false;
};

std::int64_t countRows(Session& session, const char* table) {
  session.run("count_rows.sql", table);
  session.next();
  return strictNumber(session.text("row_count"), 0, INT64_MAX).value_or(0);
}

// The policy database's tables that are there. A view of such a name is in the way and is never dropped.
std::vector<std::string> tablesThere(Session& session, bool force) {
  std::vector<std::string> tables;
  session.run("list_tables.sql");
  while (session.next()) {
    tables.push_back(session.text("table_name"));
    if (force && session.text("table_kind") == "table") continue;
    const std::string way =
        force ? " is no table and is in the way; remove it first"
              : " is there already; use another database, or 'zrpolicy init --force' to lose its content";
    throw HostError(ErrorKind::kTablesPresent, oneLine("cannot make a policy database in " +
                                                       placeOf(session.options()) + ": '" + tables.back() + "'" + way));
  }
  return tables;
}

std::vector<TableCount> dropTables(Session& session, const std::vector<std::string>& tables) {
  std::vector<TableCount> dropped;
  for (const char* table : kTables) {
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const std::string& name) { return strcasecmp(name.c_str(), table) == 0; });
    if (found == tables.end()) continue;
    dropped.push_back({table, countRows(session, table)});
    session.run("drop_table.sql", table);
  }
  return dropped;
}

// A statement file that the database refuses is at fault itself, whatever a reader would make of the refusal.
void runFile(Session& session, const std::string& file, const std::string& schema) {
  try {
    session.run(file, schema.c_str());
  } catch (const HostError& error) {
    if (error.kind() != ErrorKind::kNotPolicyDatabase) throw;
    throw HostError(ErrorKind::kInputOutput,
                    oneLine("the SQL statement file '" + file + "' is refused: " + error.what()));
  }
}

// Runs every statement file of a folder, in the order of their names. Their one value is the schema that the tables are
// in.
void runFolder(Session& session, const std::string& folder, const std::string& schema) {
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error))
    if (entry.path().extension() == ".sql") files.push_back(entry.path().string());
  if (files.empty()) {
    throw HostError(ErrorKind::kInputOutput, oneLine("there are no SQL statement files in '" + folder + "'"));
  }
  std::sort(files.begin(), files.end());
  for (const std::string& file : files)
    runFile(session, file, schema);
}

std::string randomEpoch() {
  std::random_device device;
  std::string epoch;
  while (epoch.size() < 32)
    epoch += "0123456789abcdef"[device() % 16];
  return epoch;
}

InitReport makeTables(Source& source, Session& session, const InitOptions& what) {
  InitReport report;
  Transaction transaction(session, "begin_write.sql", "undo_write.sql");
  report.dropped = dropTables(session, tablesThere(session, what.force));
  session.run("current_schema.sql");
  const std::string schema = session.next() ? session.text("schema_name") : std::string();
  runFolder(session, source.statements() + "create", schema);
  session.run("insert_revision.sql", randomEpoch().c_str(), kSchemaVersion);
  if (what.sample) runFolder(session, source.sqlDirectory() + "sample", schema);
  for (const char* table : kTables)
    report.created.push_back({table, countRows(session, table)});
  report.revision = readRevision(session);
  transaction.end("commit_write.sql");
  return report;
}

}  // namespace

InitReport PolicyDatabase::init(const DatabaseOptions& options, const InitOptions& what) {
  NewFile file(options.dsn.empty() ? options.file : std::string());
  DatabaseOptions single = options;
  single.poolSize = 1;
  InitReport report;
  {
    Source source(single, {}, Access::kMake);
    Session session(source);
    tablesThere(session, what.force);  // refused before anything is touched
    std::optional<WalMode> wal;
    if (source.isSqlite()) wal.emplace(session);
    report = makeTables(source, session, what);
    if (wal) wal->keep();
  }
  file.keep();
  return report;
}

}  // namespace zrhost
