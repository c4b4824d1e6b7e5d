#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
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
};

// The schema version that an upgrade found, and the one that it left: the same when there was nothing to do.
struct UpgradeReport {
  int from;
  int to;
};

// One policy database over ODBC, through a pool of the library's. Databases of schema version 1 are read as well; they
// have no members of groups.
//
// Failures arrive as HostError, with what the driver said about the very call that failed.
//
// Threads: read may run in as many threads at once as the pool has connections; a further one gets kUnreachable. Any
// number of objects may live in a process, made and destroyed at any time by any thread (odbc_entry_internal.h).
class PolicyDatabase : public RowSource {
 public:
  // Connects. An SQLite file is never created. Throws HostError
  //   kUsage              neither or both of file and dsn, a pool size or a number of attempts below 1
  //   kUnreachable        a missing file, a folder, no permission, an unknown data source, a refused or dead server, a
  //                       wrong password, a locked file: each reads differently
  //   kNotPolicyDatabase  a file that is no SQLite database
  //   kInputOutput        the ODBC entries cannot be made, or a statement file cannot be read or used
  //
  // An SQLite file in WAL mode is read without locks where this user may not write to its folder and nothing is in its
  // log. Should it be written to all the same, this and every later reading ends with kUnreachable: make a new object.
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
  //   kUnreachable        the connection was lost, no connection is idle, the file or a table stayed locked for 5 s
  Revision read(RowSink& sink) override;

  // The same, with the links in ascending link_id: as text of one line a row, states that differ in one row differ in
  // one line. Not for caches, whose answers depend on the order that RowSink promises.
  Revision readByKey(RowSink& sink);

  // Only the revision, at the price of a few small statements; throws as read does.
  Revision revision();

  // Whether it is an SQLite file.
  bool isFile() const;
  // Whether the path of the SQLite file leads to another file now than the one that is read, or to none: somebody has
  // put another in its place, which a new object reads. Costs two looks at the file system; false for a server.
  bool isFileReplaced() const;

  // How far a PostgreSQL server that is a standby is behind its primary: the age of the last transaction that it has
  // replayed, and nothing at all while it has replayed all that it has received from a primary that it is connected
  // with. Empty for a primary, and for databases of other kinds. Throws as revision does.
  std::optional<std::chrono::milliseconds> standbyLag();

  // Makes the database's tables in one transaction; see docs/database.md. An SQLite file that is missing is created,
  // and an SQLite file is put into WAL mode. A failure leaves the database as it was, and no file where there was none.
  // Of any number of calls at once, in any number of processes, one succeeds when none has `force`.
  //
  // With `force`, tables of the names policy, policy_rule, ep_link, group_member and policy_revision (on PostgreSQL
  // also policy_change) are dropped first, and no others; the new ones belong to the same owners and are granted to the
  // same roles. Throws as the constructor does, and HostError
  //   kTablesPresent      without force: one of these tables (or a view of that name) is there; for a file that is not
  //                       there: a journal of its name is
  //   kUnreachable        the database is in use for more than 5 s, or the user may not create tables
  static InitReport init(const DatabaseOptions& options, const InitOptions& what);

  // Brings a database of an older schema version to this program's in one transaction, which keeps content, epoch,
  // revision, owners and grants. Throws as the constructor and read do, and HostError
  //   kTablesPresent      a table is there that only the newer version should have
  //   kUnreachable        the database is in use for more than 5 s, or the user does not own the tables
  static UpgradeReport upgrade(const DatabaseOptions& options);

 private:
  struct Parts;
  std::unique_ptr<Parts> m_parts;
};

}  // namespace zrhost
