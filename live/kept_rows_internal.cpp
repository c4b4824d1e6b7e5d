#include "live/kept_rows_internal.h"

#include <memory>
#include <sqlite3.h>

#include "host/base/HostError.h"
#include "host/base/terminal_text.h"
#include "host/rows/PolicyTable.h"

namespace zrlive {
namespace {

struct Close {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class Database {
 public:
  explicit Database(const std::string& path) : m_path(path) {
    sqlite3* database = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(database);
    if (result != SQLITE_OK) fail();
    sqlite3_busy_timeout(database, 5000);
    if (sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) fail();
  }

  // Gives every row of a table, whose columns and order PolicyTable tells.
  template <typename Row, typename Give>
  void readAll(zrhost::PolicyTable table, Give give) {
    const auto statement = prepare(zrhost::formatOf(table));
    int result = SQLITE_ROW;
    for (Row row; (result = sqlite3_step(statement.get())) == SQLITE_ROW; give(row)) {
      int column = 0;
      for (zrhost::Field* field : zrhost::fieldsOf(row))
        take(statement.get(), column++, *field);
    }
    if (result != SQLITE_DONE) fail();
  }

 private:
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  Statement prepare(const zrhost::PolicyTableFormat& format) {
    std::string columns, keys;
    for (const zrhost::PolicyColumn& column : format.columns) {
      columns += (columns.empty() ? "" : ", ") + std::string(column.name);
      if (column.isKey) keys += (keys.empty() ? "" : ", ") + std::string(column.name);
    }
    const std::string sql = "SELECT " + columns + " FROM " + format.name + " ORDER BY " + keys;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) fail();
    return Statement(statement);
  }

  static void take(sqlite3_stmt* statement, int column, zrhost::Field& field) {
    const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    if (text == nullptr) return field.reset();
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
    zrhost::assign(field, {text, size});
  }

  [[noreturn]] void fail() const {
    const bool isThere = sqlite3_errcode(m_database.get()) != SQLITE_CANTOPEN;
    throw zrhost::HostError(
        isThere ? zrhost::ErrorKind::kNotPolicyDatabase : zrhost::ErrorKind::kUnreachable,
        zrhost::oneLine("the last good state in '" + m_path + "' is not used: " + sqlite3_errmsg(m_database.get())));
  }

  const std::string& m_path;
  std::unique_ptr<sqlite3, Close> m_database;
};

}  // namespace

zrhost::Revision KeptRows::read(zrhost::RowSink& sink) {
  using zrhost::PolicyTable;
  Database database(m_path);
  zrhost::Revision none;
  sink.onRevision(none);
  database.readAll<zrhost::PolicyRow>(PolicyTable::kPolicy, [&sink](auto& row) { sink.onPolicy(row); });
  database.readAll<zrhost::RuleRow>(PolicyTable::kRule, [&sink](auto& row) { sink.onRule(row); });
  database.readAll<zrhost::LinkRow>(PolicyTable::kLink, [&sink](auto& row) { sink.onLink(row); });
  database.readAll<zrhost::MemberRow>(PolicyTable::kMember, [&sink](auto& row) { sink.onMember(row); });
  return none;
}

}  // namespace zrlive
