#include <sys/stat.h>

#include "host/base/terminal_text.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/locks_internal.h"
#include "host/database/new_file_internal.h"
#include "host/database/tables_internal.h"

namespace zrhost {
namespace {

std::string journalMode(Session& session) {
  session.run("journal_mode.sql");
  return session.next() ? session.text("journal_mode") : std::string();
}

// The mode belongs to no transaction. So the file, which the transaction locked, is kept locked behind it until the
// connection closes: nobody can come between, and a database that was not made keeps its mode.
void setWalMode(Session& session) {
  session.run("set_journal_mode.sql", "wal");
  if (session.next() && session.text("journal_mode") == "wal") return;
  throw HostError(ErrorKind::kUnreachable, oneLine("the file system of " + placeOf(session.options()) +
                                                   " does not take a database in WAL mode; use a local disk"));
}

// A view of such a name is in the way and is never dropped.
void refuseTablesInTheWay(Session& session, const std::vector<TableThere>& tables, bool force) {
  for (const TableThere& table : tables) {
    if (force && table.isTable) continue;
    const std::string way = force ? " is no table and is in the way; remove it first"
                                  : " is there already; 'zrpolicy init --upgrade' brings an older database up to date, "
                                    "'zrpolicy init --force' loses its content";
    throw HostError(ErrorKind::kTablesPresent, oneLine("cannot make a policy database in " +
                                                       placeOf(session.options()) + ": '" + table.name + "'" + way));
  }
}

// Locked all at once, before the first is dropped: a reader has the old ones or the new ones.
void lockAll(Session& session, const std::vector<TableThere>& tables) {
  std::string names;
  for (const TableThere& table : tables)
    names += (names.empty() ? "" : ", ") + table.name;
  lockTables(session, names, "ACCESS EXCLUSIVE");
}

std::vector<TableCount> dropTables(Session& session, const std::vector<TableThere>& tables) {
  std::vector<TableCount> counts = countTables(session, tables);
  for (const TableCount& table : counts)
    session.run("drop_table.sql", table.table.c_str());
  std::erase_if(counts, [](const TableCount& table) { return table.table == kChangeTable && table.rows == 0; });
  return counts;
}

void makeTables(Session& session, const std::vector<Right>& rights) {
  const std::string schema = schemaForTables(session);
  runFolder(session, "create", schema);
  runFolder(session, "version_2", schema);
  giveRights(session, rights);
  session.run("insert_revision.sql", randomEpoch().c_str(), kSchemaVersion);
}

std::vector<TableCount> contentOf(Session& session) {
  std::vector<TableThere> tables = tablesThere(session);
  std::erase_if(tables, [](const TableThere& table) { return table.name == kChangeTable; });
  return countTables(session, tables);
}

// Begins the transaction that makes the tables; answers those that are to be dropped, which are locked then.
std::vector<TableThere> beginMaking(std::optional<Transaction>& transaction, Session& session, bool force) {
  std::vector<TableThere> tables;
  beginLocked(transaction, session, kWriting, [&] {
    lockSchema(session);
    tables = tablesThere(session);
    refuseTablesInTheWay(session, tables, force);
    lockAll(session, tables);
  });
  return tables;
}

InitReport makeDatabase(Source& source, const InitOptions& what) {
  InitReport report;
  Session session(source);
  session.setTask("make the tables");
  refuseTablesInTheWay(session, tablesThere(session), what.force);  // before anybody is made to wait
  const bool toWal = source.isSqlite() && journalMode(session) != "wal";
  std::optional<Transaction> transaction;
  const std::vector<TableThere> old = beginMaking(transaction, session, what.force);
  if (toWal) session.run("keep_file_locked.sql");
  const std::vector<Right> rights = rightsOf(session);
  report.dropped = dropTables(session, old);
  makeTables(session, rights);
  if (what.sample) runFolder(session, source.sqlDirectory() + "sample/", {});
  report.created = contentOf(session);
  transaction->end("commit_write.sql");
  if (toWal) setWalMode(session);
  return report;
}

bool isFileMissing(const DatabaseOptions& options) {
  struct stat status {};
  return options.dsn.empty() && !options.file.empty() && lstat(options.file.c_str(), &status) != 0;
}

}  // namespace

InitReport PolicyDatabase::init(const DatabaseOptions& options, const InitOptions& what) {
  DatabaseOptions single = options;
  single.poolSize = 1;
  if (isFileMissing(single)) {
    NewFile file(single.file);
    InitReport report = [&] {
      Source source(single, file.temporaryPath(), Access::kMake);
      return makeDatabase(source, what);
    }();
    if (file.publish()) return report;
  }  // else another program made the file meanwhile
  Source source(single, {}, Access::kMake);
  return makeDatabase(source, what);
}

}  // namespace zrhost
