#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/base/DatabaseOptions.h"
#include "host/base/HostError.h"
#include "host/rows/RowSource.h"

namespace zrhost {

struct TableCount {
  std::string table;
  std::int64_t rows;
};

struct InitOptions {
  bool sample = false;  // fill in the sample data
  bool force = false;   // drop the tables first when they are there
};

struct InitReport {
  std::vector<TableCount> dropped;  // the tables that `force` dropped, with the rows that went with them
  std::vector<TableCount> created;  // the new tables, with the rows that they hold now
  Revision revision;
};

// One policy database over ODBC, through a pool of the library's.
//
// Failures arrive as HostError. What the library logged at level 1 on the way is part of the text when the program's
// log sink hands it over (host/log).
//
// Threads: read may run in as many threads at once as the pool has connections; a further one gets kUnreachable. One
// object at a time in a process; construct and destroy it while the process has a single thread (OdbcEntries.h).
class PolicyDatabase : public RowSource {
 public:
  // Connects. An SQLite file is never created. Throws HostError
  //   kUsage              neither or both of file and dsn, a pool size or a number of attempts below 1
  //   kUnreachable        a missing file, a folder, no permission, an unknown data source, a refused or dead server, a
  //                       wrong password, a locked file: each reads differently
  //   kNotPolicyDatabase  a file that is no SQLite database
  //   kInputOutput        the private ODBC entries or the statement files cannot be written or read
  explicit PolicyDatabase(const DatabaseOptions& options);
  ~PolicyDatabase() override;
  PolicyDatabase(const PolicyDatabase&) = delete;
  PolicyDatabase& operator=(const PolicyDatabase&) = delete;

  // Pushes every row of one state of the database into `sink`, in the order that RowSink promises, and answers that
  // state. All of it is read in one read-only transaction: writers neither wait nor are ever seen half-way. Rows are
  // streamed; at most a driver's batch of them is in memory. Nothing is judged here but the revision row.
  //
  // The transaction is ended on every way out. A connection on which that fails is left broken (state 6): the pool
  // replaces it when it is lent next, and closing it ends the transaction for good.
  //
  // Throws what the sink throws, and HostError
  //   kNotPolicyDatabase  no tables, other tables, no revision row, a newer schema version than this program knows
  //   kUnreachable        the connection was lost, the file stayed locked for 5 s, no connection is idle
  Revision read(RowSink& sink) override;

  // Only the revision, at the price of one small statement; throws as read does.
  Revision revision();

  // Makes the database's tables in one transaction; see docs/database.md. An SQLite file that is missing is created,
  // and an SQLite file is put into WAL mode. A failure leaves the database as it was, and no file where there was none.
  //
  // With `force`, tables of the names policy, policy_rule, ep_link and policy_revision are dropped first, and no
  // others. Throws as the constructor does, and HostError
  //   kTablesPresent      without force: one of these tables (or a view of that name) is there
  //   kUnreachable        the file is locked, or the user may not create tables
  static InitReport init(const DatabaseOptions& options, const InitOptions& what);

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
