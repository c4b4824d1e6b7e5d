#include "host/database/table_change_internal.h"

#include <initializer_list>
#include <limits>
#include <string_view>

#include "host/base/strict_number.h"

namespace zrhost {
namespace {

void append(std::string& list, const char* separator, std::initializer_list<std::string_view> item) {
  if (!list.empty()) list += separator;
  for (const std::string_view part : item)
    list += part;
}

}  // namespace

TableChange::TableChange(Session& session, PolicyTable table)
    : m_session(session), m_table(formatOf(table).name), m_staged(formatOf(table).member) {
  for (const PolicyColumn& column : formatOf(table).columns) {
    const std::string name = column.name;
    append(m_columns, ", ", {name});
    append(m_stagedColumns, ", ", {"s.", name});
    append(m_tableColumns, ", ", {"t.", name});
    if (column.isKey) {
      m_keyColumn = name;
      append(m_key, ", ", {name});
      append(m_keysEqual, " AND ", {"t.", name, " = s.", name});
    } else {
      append(m_settings, ", ", {name, " = s.", name});
    }
  }
}

const TableComparison& TableChange::compare() {
  run("write/compare.sql");
  m_session.next();
  m_found = {number("table_rows"), number("staged_rows"), number("new_rows"), number("different_rows")};
  return m_found;
}

void TableChange::add() {
  run(m_found.added == m_found.staged ? "write/insert_all.sql" : "write/insert_new.sql");
}

void TableChange::change() {
  run("write/update_different.sql");
}

void TableChange::removeOthers() {
  run("write/remove_others.sql");
}

void TableChange::removeSame() {
  run("write/remove_same.sql");
}

void TableChange::run(const char* file) {
  m_session.run(m_session.statements() + file, m_table.c_str(), m_staged.c_str(), m_keysEqual.c_str(),
                m_columns.c_str(), m_stagedColumns.c_str(), m_tableColumns.c_str(), m_keyColumn.c_str(),
                m_settings.c_str(), m_key.c_str());
}

std::uint64_t TableChange::number(const char* column) {
  return static_cast<std::uint64_t>(
      strictNumber(m_session.text(column), 0, std::numeric_limits<std::int64_t>::max()).value_or(0));
}

}  // namespace zrhost
