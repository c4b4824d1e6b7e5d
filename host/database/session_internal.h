#pragma once

#include <cstdint>
#include <string>

#include "db/ZrDataAccess.h"
#include "host/database/OdbcEntries.h"
#include "host/database/PolicyDatabase.h"
#include "host/log/log_line.h"
#include "host/rows/Rows.h"

namespace zrhost {

inline constexpr int kSchemaVersion = 1;

// A connected pool, and where the statements for its kind of database are.
class Source {
 public:
  explicit Source(const DatabaseOptions& options);

  const DatabaseOptions options;
  ZrDataAccess& pool() { return m_pool; }
  // The folder of the statements, that of the database's kind: its name as the driver gives it, in lower case.
  const std::string& statements() const { return m_statements; }
  const std::string& sqlDirectory() const { return m_sqlDirectory; }
  bool isSqlite() const { return m_sqlite; }

 private:
  void connect();
  void findStatements();

  std::string m_sqlDirectory;
  OdbcEntries m_entries;
  LogAlias m_alias;
  ZrDataAccess m_pool;
  std::string m_statements;
  bool m_sqlite = false;
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
    execute(name, prepared(name, values...));
  }
  // Fetches the next row of the result; false behind the last one.
  bool next();
  // The text of a column as it is.
  std::string text(const char* column);
  // A column that a statement marks with '=' in front of what is there, so that NULL differs from an empty text.
  void take(const char* column, Field& field);
  // Has the pool replace the connection when it is lent next.
  void breakConnection() noexcept { m_connection->m_state = 6; }
  const DatabaseOptions& options() const { return m_source.options; }

 private:
  template <typename... Values>
  std::string prepared(const std::string& name, Values... values) {
    const std::string path = (name.find('/') == std::string::npos ? m_source.statements() : "") + name;
    const std::string format = readTemplate(path);
    std::string sql(format.size() + 1024, '\0');
    const int size = ZrSqlLoader::setSqlParams(sql.data(), static_cast<int>(sql.size()), format.c_str(), values...);
    return checkedStatement(std::move(sql), size, path);
  }
  std::string readTemplate(const std::string& path) const;
  static std::string checkedStatement(std::string sql, int size, const std::string& path);
  void execute(const std::string& name, const std::string& sql);

  Source& m_source;
  ZrDbConnect* m_connection;
  std::string m_doing;  // for messages
};

// A transaction by the statements of that name; ended by the destructor unless end was called. When that fails, the
// connection is left broken.
class Transaction {
 public:
  Transaction(Session& session, const char* begin, const char* undo) : m_session(session), m_undo(undo) {
    session.run(begin);
  }
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

// The one row of policy_revision. Throws kNotPolicyDatabase when there is none or another, or the schema is a newer
// one.
Revision readRevision(Session& session);

}  // namespace zrhost
