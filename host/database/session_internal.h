#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "db/ZrDataAccess.h"
#include "host/database/PolicyDatabase.h"
#include "host/database/data_source_internal.h"
#include "host/database/database_failure_internal.h"
#include "host/database/silence_watch_internal.h"
#include "host/database/statement_file_internal.h"
#include "host/log/log_line.h"
#include "host/rows/Rows.h"

namespace zrhost {

inline constexpr int kSchemaVersion = 2;

// A connected pool, and where the statements for its kind of database are.
class Source {
 public:
  // `file`, when it is given, is opened in place of the file of the options, which messages go on naming.
  explicit Source(const DatabaseOptions& options, const std::string& file = {}, Access access = Access::kRead);

  const DatabaseOptions options;
  ZrDataAccess& pool() { return m_pool; }
  // The folder of the statements, that of the database's kind: its name as the driver gives it, in lower case.
  const std::string& statements() const { return m_statements; }
  const std::string& sqlDirectory() const { return m_sqlDirectory; }
  bool isSqlite() const { return m_sqlite; }
  int lockWait() const { return m_dataSource.lockWait(); }
  SilenceWatch& watch() { return m_watch; }
  FailurePlace place() const { return {placeOf(options), m_sqlite, m_access}; }
  // Throws HostError kUnreachable when what is read without locks has been written to.
  void throwIfChanged() const;
  // Whether the path of the SQLite file leads elsewhere by now.
  bool isFileReplaced() const;
  // Lends a connection, with as many attempts to connect as the options allow where it has to be replaced.
  ZrDbConnect* lend();

 private:
  void connect();
  void openPool();
  bool isRefusedToReader();
  void findStatements();

  const Access m_access;
  std::string m_sqlDirectory;
  DataSource m_dataSource;
  std::optional<LogAlias> m_alias;
  SilenceWatch m_watch;
  ZrDataAccess m_pool;
  std::string m_statements;
  bool m_sqlite;
};

// One connection, lent for the life of the object, with the statements of its database. Failures arrive as HostError.
class Session {
 public:
  explicit Session(Source& source);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Runs the statement of a file, by its name in the folder of the database's kind (or by a path), with its values.
  template <typename... Values>
  void run(const std::string& name, Values... values) {
    beginStatement(name);
    execute(statementOf(m_file, values...));
  }
  // Fetches the next row of the result; false behind the last one.
  bool next();
  // The text of a column as it is.
  std::string text(const char* column) { return value(column); }
  // The same, or nothing for NULL.
  void take(const char* column, Field& field);
  // The SQLSTATE of the last statement that failed.
  const std::string& sqlState() const { return m_sqlState; }
  // What messages say that statements are for, from now on; without it they say the name of the statement's file.
  void setTask(const std::string& task) { m_task = task; }
  // From now on locks are waited for as long as at the beginning.
  void renewLockWait() { m_lockWait = m_source.lockWait(); }
  // Has the pool replace the connection when it is lent next.
  void breakConnection() noexcept { m_connection->m_state = 6; }
  const DatabaseOptions& options() const { return m_source.options; }
  bool isSqlite() const { return m_source.isSqlite(); }
  const std::string& statements() const { return m_source.statements(); }

  // For statements with parameters, which have a handle of their own on the connection (BoundStatement): makes one, and
  // calls `wait`, an ODBC call on it, as run waits. A failure is told of the statement file `name`.
  SQLHSTMT makeHandle();
  SQLRETURN waitFor(const std::string& name, const std::function<SQLRETURN()>& wait);
  [[noreturn]] void failOf(const std::string& name, SQLHSTMT handle);

 private:
  using Clock = std::chrono::steady_clock;

  void beginStatement(const std::string& name);
  void endStatement();
  void execute(const std::string& sql);
  void waitForLocks(const std::string& sql);
  const char* value(const char* column);
  [[noreturn]] void fail(const Diagnostic& diagnostic, const char* thrown);
  HostError missingTable(const Diagnostic& diagnostic, const char* thrown);

  Source& m_source;
  SilenceWatch::Waiter m_waiter;
  ZrDbConnect* m_connection;
  std::string m_task;
  int m_lockWait;       // milliseconds that are left to wait for locks
  int m_lockSet = -1;   // what the driver was told of it
  std::string m_file;   // of the statement
  std::string m_doing;  // for messages
  std::string m_sqlState;
  bool m_running = false;  // and its rows so far, for the log
  std::uint64_t m_rows = 0;
  Clock::time_point m_begun;
};

// A transaction by the statements of that name; ended by the destructor unless end was called. When that fails, or it
// is not known whether it has begun, the connection is left broken, and closing it ends the transaction.
class Transaction {
 public:
  Transaction(Session& session, const char* begin, const char* undo);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void end(const char* statement) {
    m_session.run(statement);
    m_ended = true;
  }

 private:
  Session& m_session;
  const char* m_undo;
  bool m_ended = false;
};

// A random text that no other database has.
std::string randomEpoch();

// The one row of policy_revision. Throws kNotPolicyDatabase when there is none or another, or the schema is a newer
// one.
Revision readRevision(Session& session);

}  // namespace zrhost
